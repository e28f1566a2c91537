#include "vrex/Client.h"

#include <optional>
#include <stdexcept>
#include <thread>

#include "parse/AnswerIntake.h"
#include "parse/AnswerParser.h"
#include "transport/AsyncAttempts.h"
#include "transport/CallRegistry.h"
#include "transport/RetrySchedule.h"
#include "parse/WarmArenas.h"
#include "transport/WireForm.h"
#include "vrex/CurlTransport.h"
#include "vrex/data/AtomicFile.h"

namespace vrex {

namespace {

using Clock = std::chrono::steady_clock;

// Whether the catalog lets a request known only by name be sent again; an
// unknown request is sent once.
bool IsRepeatable(std::string_view requestType) {
  const RequestInfo* info = FindRequest(requestType);
  return info != nullptr && info->repeatable;
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
    const auto delay = schedule.NextDelay(response, attempts, retryable, canRepeat());
    if (!delay) {
      return response;
    }
    std::this_thread::sleep_for(*delay);
  }
}

// The transport tells where a transfer broke off; a completed one is told
// by its status.
Outcome::Event Classify(const HttpResponse& response) {
  if (response.TransportFailed()) {
    return response.failure;
  }
  return response.status == 200 ? Outcome::Event::Succeeded : Outcome::Event::HttpStatusFailed;
}

// The outcome of a call; `intake`, when the call has an answer, finishes
// parsing it (unless done already).
Outcome Conclude(std::string_view requestType, const HttpResponse& response,
                 const google::protobuf::Message* answer, internal::AnswerIntake* intake,
                 Clock::time_point start, int attempts) {
  Outcome::Event event = Classify(response);
  std::string errorText = response.transportError;
  if (event == Outcome::Event::Succeeded && answer != nullptr && !intake->Finish(response)) {
    event = Outcome::Event::AnswerUnreadable;
    errorText = "the body is not a valid " + answer->GetTypeName();
  }
  const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
  return Outcome(std::string(requestType), event, response.status, std::move(errorText), elapsed,
                 attempts, response.cause, response.systemReason);
}

Outcome AsFileFailure(const Outcome& outcome, const std::string& reason) {
  return Outcome(outcome.RequestType(), Outcome::Event::FileFailed, outcome.HttpStatus(), reason,
                 outcome.Elapsed(), outcome.Attempts());
}

// A download's outcome once its file is complete or abandoned.
Outcome FinishFile(data::AtomicFile& file, const Outcome& outcome) {
  if (!file.Error().empty()) {
    return AsFileFailure(outcome, file.Error());
  }
  if (outcome.Ok() && !file.Commit()) {
    return AsFileFailure(outcome, file.Error());
  }
  return outcome;
}

Outcome CannotCreate(std::string_view requestType, const data::AtomicFile& file) {
  return Outcome(std::string(requestType), Outcome::Event::FileFailed, 0, file.Error(), {}, 0);
}

// Hands a download's chunks to `onChunk` and its progress to the options.
StreamHandler ProgressingHandler(ChunkHandler onChunk, DownloadOptions options) {
  return [onChunk = std::move(onChunk), options = std::move(options), received = std::uint64_t{0}](
             std::string_view chunk, std::uint64_t expected) mutable {
    received += chunk.size();
    return onChunk(chunk) && (!options.onProgress || options.onProgress({received, expected}));
  };
}

}  // namespace

Client::Client(ClientOptions options) : Client(options, MakeCurlTransport(options)) {}

Client::Client(ClientOptions options, std::shared_ptr<Transport> transport)
    : baseUrl_(std::move(options.baseUrl)),
      totalTimeout_(options.totalTimeout),
      maxAnswerBytes_(options.maxAnswerBytes),
      retry_(options.retry),
      transport_(std::move(transport)),
      parser_(std::make_shared<internal::AnswerParser>(options.parsing)),
      arenas_(std::make_shared<internal::WarmArenas>()) {
  if (!transport_) {
    throw std::invalid_argument("vrex::Client needs a transport");
  }
  calls_ = std::make_shared<internal::ClientCalls>(transport_);
}

HttpRequest Client::BuildRequest(std::string_view requestType,
                                 const google::protobuf::Message& request,
                                 std::chrono::milliseconds timeout) const {
  HttpRequest http;
  http.requestType = std::string(requestType);
  http.url = internal::wire::EndpointUrl(baseUrl_, http.requestType);
  request.SerializeToString(&http.body);
  http.contentType = internal::wire::ContentTypeOf(http.body.empty());
  if (http.body.empty()) {
    http.body = internal::wire::kEmptyBody;
  }
  http.timeout = timeout;
  http.maxAnswerBytes = maxAnswerBytes_;
  return http;
}

std::shared_ptr<google::protobuf::Arena> Client::NewAnswerArena() const { return arenas_->New(); }

Outcome Client::Exchange(std::string_view requestType, bool repeatable,
                         const google::protobuf::Message& request,
                         google::protobuf::Message* answer) const {
  const Clock::time_point start = Clock::now();
  HttpRequest http = BuildRequest(requestType, request, totalTimeout_);
  http.maxStreamedBytes = maxAnswerBytes_;
  std::optional<internal::AnswerIntake> intake;
  if (answer != nullptr) {
    intake.emplace(parser_, *answer);
  }
  int attempts = 0;
  const HttpResponse response = RunAttempts(
      retry_, repeatable, start, attempts,
      [&] { return intake ? intake->Receive(*transport_, http) : transport_->Post(http); },
      [] { return true; });
  return Conclude(requestType, response, answer, intake ? &*intake : nullptr, start, attempts);
}

Outcome Client::Send(const google::protobuf::Message& request,
                     google::protobuf::Message& answer) const {
  return Send(request.GetDescriptor()->name(), request, answer);
}

Outcome Client::Send(std::string_view requestType, const google::protobuf::Message& request,
                     google::protobuf::Message& answer) const {
  return Exchange(requestType, IsRepeatable(requestType), request, &answer);
}

Outcome Client::Download(std::string_view requestType, const google::protobuf::Message& request,
                         const ChunkHandler& onChunk, const DownloadOptions& options) const {
  const Clock::time_point start = Clock::now();
  HttpRequest http =
      BuildRequest(requestType, request, options.timeout.value_or(totalTimeout_));
  http.maxStreamedBytes = options.maxBytes.value_or(0);
  std::uint64_t delivered = 0;
  const StreamHandler handler = [&, progress = ProgressingHandler(onChunk, options)](
                                    std::string_view chunk, std::uint64_t expected) mutable {
    delivered += chunk.size();
    return progress(chunk, expected);
  };
  int attempts = 0;
  // Once bytes reached the caller, another attempt would deliver them twice.
  const HttpResponse response = RunAttempts(
      retry_, IsRepeatable(requestType), start, attempts,
      [&] { return transport_->PostStreaming(http, handler); }, [&] { return delivered == 0; });
  return Conclude(requestType, response, nullptr, nullptr, start, attempts);
}

Outcome Client::DownloadToFile(std::string_view requestType,
                               const google::protobuf::Message& request,
                               const std::filesystem::path& target,
                               const DownloadOptions& options) const {
  data::AtomicFile file(target);
  if (!file.IsOpen()) {
    return CannotCreate(requestType, file);
  }
  const Outcome outcome = Download(
      requestType, request, [&file](std::string_view chunk) { return file.Write(chunk); }, options);
  return FinishFile(file, outcome);
}

CallCanceller Client::Start(
    std::string_view requestType, bool repeatable, const google::protobuf::Message& request,
    std::chrono::milliseconds timeout, std::uint64_t maxStreamedBytes, StreamHandler onChunk,
    std::function<void()> restart,
    std::function<void(const HttpResponse&, std::function<void()>)> settle,
    std::function<void(const HttpResponse&, int, Clock::time_point)> onEnd) const {
  HttpRequest http = BuildRequest(requestType, request, timeout);
  http.maxStreamedBytes = maxStreamedBytes;
  const Clock::time_point start = Clock::now();
  const std::shared_ptr<internal::CallRegistry>& registry = calls_->Registry();
  auto attempts = std::make_shared<internal::AsyncAttempts>(
      std::move(http),
      internal::AnswerReceiver{std::move(onChunk), std::move(restart), std::move(settle)},
      internal::RetrySchedule(retry_, start), repeatable, transport_,
      [onEnd = std::move(onEnd), start, registry](const HttpResponse& response, int made) {
        const internal::CallRegistry::Ending ending(*registry);
        onEnd(response, made, start);
      });
  registry->Add(attempts->Cancelled());
  CallCanceller canceller(attempts->Cancelled(), transport_);
  attempts->Begin();
  return canceller;
}

CallCanceller Client::StartExchange(std::string_view requestType, bool repeatable,
                                    const google::protobuf::Message& request,
                                    google::protobuf::Message* answer,
                                    std::function<void(Outcome)> onOutcome) const {
  internal::AnswerReceiver receiver;
  std::shared_ptr<internal::AnswerIntake> intake;
  if (answer != nullptr) {
    // The event thread only moves the bytes; the answer is parsed on the
    // parsing threads before the call ends.
    intake = std::make_shared<internal::AnswerIntake>(parser_, *answer);
    receiver.onChunk = intake->Handler();
    receiver.restart = [intake] { intake->Restart(); };
    receiver.settle = [intake](const HttpResponse& response, std::function<void()> resume) {
      intake->FinishElsewhere(response, std::move(resume));
    };
  }
  return Start(requestType, repeatable, request, totalTimeout_, maxAnswerBytes_,
               std::move(receiver.onChunk), std::move(receiver.restart), std::move(receiver.settle),
               [type = std::string(requestType), answer, intake, onOutcome = std::move(onOutcome)](
                   const HttpResponse& response, int attempts, Clock::time_point start) {
                 onOutcome(Conclude(type, response, answer, intake.get(), start, attempts));
               });
}

CallCanceller Client::StartDownload(std::string_view requestType,
                                    const google::protobuf::Message& request, ChunkHandler onChunk,
                                    DownloadOptions options,
                                    std::function<void(Outcome)> onOutcome) const {
  const auto timeout = options.timeout.value_or(totalTimeout_);
  const auto maxBytes = options.maxBytes.value_or(0);
  return Start(requestType, IsRepeatable(requestType), request, timeout, maxBytes,
               ProgressingHandler(std::move(onChunk), std::move(options)), nullptr, nullptr,
               [type = std::string(requestType), onOutcome = std::move(onOutcome)](
                   const HttpResponse& response, int attempts, Clock::time_point start) {
                 onOutcome(Conclude(type, response, nullptr, nullptr, start, attempts));
               });
}

CallCanceller Client::StartDownloadToFile(std::string_view requestType,
                                          const google::protobuf::Message& request,
                                          const std::filesystem::path& target,
                                          DownloadOptions options,
                                          std::function<void(Outcome)> onOutcome) const {
  auto file = std::make_shared<data::AtomicFile>(target);
  if (!file->IsOpen()) {
    onOutcome(CannotCreate(requestType, *file));
    return {};
  }
  return StartDownload(
      requestType, request, [file](std::string_view chunk) { return file->Write(chunk); },
      std::move(options), [file, onOutcome = std::move(onOutcome)](Outcome outcome) {
        onOutcome(FinishFile(*file, outcome));
      });
}

void Client::CancelAll() const {
  calls_->Registry()->CancelAll();
  transport_->WakeUp();
}

void CallCanceller::Cancel() const {
  if (const auto cancelled = cancelled_.lock()) {
    *cancelled = true;
    if (const auto transport = transport_.lock()) {
      transport->WakeUp();
    }
  }
}

}  // namespace vrex
