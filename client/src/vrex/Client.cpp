#include "vrex/Client.h"

#include <optional>
#include <stdexcept>
#include <thread>

#include "internal/AnswerParser.h"
#include "internal/AnswerStream.h"
#include "internal/AtomicFile.h"
#include "internal/RetrySchedule.h"
#include "vrex/CurlTransport.h"

namespace vrex {

namespace {

using Clock = std::chrono::steady_clock;

// Commands change the server's state, so they are never sent twice. That
// holds for PropagateTopologyModelCommand too, which the catalog lists as a
// query because it is answered with a message.
bool MayRetry(std::string_view requestType, RequestKind kind) {
  constexpr std::string_view kCommandSuffix = "Command";
  const bool namedCommand =
      requestType.size() >= kCommandSuffix.size() &&
      requestType.substr(requestType.size() - kCommandSuffix.size()) == kCommandSuffix;
  return kind != RequestKind::Command && !namedCommand;
}

// The catalog's kind of a request known only by name; an unknown request is
// treated as a command, so it is never retried.
RequestKind KindOf(std::string_view requestType) {
  const RequestInfo* info = FindRequest(requestType);
  return info != nullptr ? info->kind : RequestKind::Command;
}

// Runs `attempt` until it succeeds, fails for good, `canRepeat` says no or
// the policy's attempts or time run out. `attempts` counts the runs.
template <class Attempt, class CanRepeat>
HttpResponse RunAttempts(const RetryPolicy& policy, bool retryable, Clock::time_point start,
                         int& attempts, Attempt attempt, CanRepeat canRepeat) {
  const internal::RetrySchedule schedule(policy, start);
  for (;;) {
    HttpResponse response = attempt();
    ++attempts;
    if (!retryable || !internal::IsTransient(response) || !canRepeat()) {
      return response;
    }
    const std::optional<std::chrono::milliseconds> delay = schedule.NextDelay(attempts);
    if (!delay) {
      return response;
    }
    std::this_thread::sleep_for(*delay);
  }
}

Outcome::Event Classify(const HttpResponse& response) {
  if (response.cancelled) {
    return Outcome::Event::Cancelled;
  }
  if (response.TransportFailed()) {
    return Outcome::Event::TransportFailed;
  }
  return response.status == 200 ? Outcome::Event::Succeeded : Outcome::Event::HttpStatusFailed;
}

// Finishes parsing a 200 answer into `answer` (when there is one to read)
// and builds the outcome of the call.
Outcome Conclude(std::string_view requestType, const HttpResponse& response,
                 google::protobuf::Message* answer, internal::AnswerStream* stream,
                 Clock::time_point start, int attempts) {
  Outcome::Event event = Classify(response);
  // After a cancellation libcurl's text only says that the write failed.
  std::string errorText = response.cancelled ? std::string() : response.transportError;
  if (event == Outcome::Event::Succeeded && answer != nullptr && !stream->Finish()) {
    event = Outcome::Event::AnswerUnreadable;
    errorText = "the body is not a valid " + answer->GetTypeName();
  }
  const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
  return Outcome(std::string(requestType), event, response.status, std::move(errorText), elapsed,
                 attempts);
}

Outcome AsFileFailure(const Outcome& outcome, const std::string& reason) {
  return Outcome(outcome.RequestType(), Outcome::Event::FileFailed, outcome.HttpStatus(), reason,
                 outcome.Elapsed(), outcome.Attempts());
}

}  // namespace

Client::Client(ClientOptions options) : Client(options, MakeCurlTransport(options)) {}

Client::Client(ClientOptions options, std::shared_ptr<Transport> transport)
    : baseUrl_(std::move(options.baseUrl)),
      totalTimeout_(options.totalTimeout),
      retry_(options.retry),
      transport_(std::move(transport)),
      parser_(std::make_shared<internal::AnswerParser>(options.parsing)) {
  if (!transport_) {
    throw std::invalid_argument("vrex::Client needs a transport");
  }
}

HttpRequest Client::BuildRequest(std::string_view requestType,
                                 const google::protobuf::Message& request,
                                 std::chrono::milliseconds timeout) const {
  HttpRequest http;
  http.requestType = std::string(requestType);
  http.url = baseUrl_ + "/api/" + http.requestType;
  request.SerializeToString(&http.body);
  // The gateway takes an empty message as the JSON object "{}".
  if (http.body.empty()) {
    http.body = "{}";
    http.contentType = "application/json";
  } else {
    http.contentType = "application/x-protobuf";
  }
  http.timeout = timeout;
  return http;
}

Outcome Client::Exchange(std::string_view requestType, RequestKind kind,
                         const google::protobuf::Message& request,
                         google::protobuf::Message* answer) const {
  const Clock::time_point start = Clock::now();
  const HttpRequest http = BuildRequest(requestType, request, totalTimeout_);
  // Parsed while it arrives; each attempt starts the stream afresh.
  std::optional<internal::AnswerStream> stream;
  if (answer != nullptr) {
    stream.emplace(*parser_, *answer);
  }
  int attempts = 0;
  const HttpResponse response = RunAttempts(
      retry_, MayRetry(requestType, kind), start, attempts,
      [&] { return stream ? stream->Receive(*transport_, http) : transport_->Post(http); },
      [] { return true; });
  return Conclude(requestType, response, answer, stream ? &*stream : nullptr, start, attempts);
}

Outcome Client::Send(const google::protobuf::Message& request,
                     google::protobuf::Message& answer) const {
  return Send(request.GetDescriptor()->name(), request, answer);
}

Outcome Client::Send(std::string_view requestType, const google::protobuf::Message& request,
                     google::protobuf::Message& answer) const {
  return Exchange(requestType, KindOf(requestType), request, &answer);
}

Outcome Client::Download(std::string_view requestType, const google::protobuf::Message& request,
                         const ChunkHandler& onChunk, const DownloadOptions& options) const {
  const Clock::time_point start = Clock::now();
  const HttpRequest http =
      BuildRequest(requestType, request, options.timeout.value_or(totalTimeout_));
  std::uint64_t received = 0;
  const StreamHandler handler = [&](std::string_view chunk, std::uint64_t expected) {
    received += chunk.size();
    return onChunk(chunk) && (!options.onProgress || options.onProgress({received, expected}));
  };
  int attempts = 0;
  // Once bytes reached the caller, another attempt would deliver them twice.
  const HttpResponse response = RunAttempts(
      retry_, MayRetry(requestType, KindOf(requestType)), start, attempts,
      [&] { return transport_->PostStreaming(http, handler); }, [&] { return received == 0; });
  return Conclude(requestType, response, nullptr, nullptr, start, attempts);
}

Outcome Client::DownloadToFile(std::string_view requestType,
                               const google::protobuf::Message& request,
                               const std::filesystem::path& target,
                               const DownloadOptions& options) const {
  internal::AtomicFile file(target);
  if (!file.IsOpen()) {
    return Outcome(std::string(requestType), Outcome::Event::FileFailed, 0, file.Error(), {}, 0);
  }
  const Outcome outcome = Download(
      requestType, request, [&file](std::string_view chunk) { return file.Write(chunk); }, options);
  if (!file.Error().empty()) {
    return AsFileFailure(outcome, file.Error());
  }
  if (outcome.Ok() && !file.Commit()) {
    return AsFileFailure(outcome, file.Error());
  }
  return outcome;
}

}  // namespace vrex
