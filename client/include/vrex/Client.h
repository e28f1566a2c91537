#pragma once
// The session client of the results server, beside the established
// VrexClient functions and independent of them.
//
//   vrex::ClientOptions options;
//   options.baseUrl = "https://results:8443";
//   const vrex::Client client(options);
//   auto result = client.Send(measurementQuery);  // Result<MeasurementContainer, Outcome>
//   if (!result) log(result.GetStatus().Message());
//
// A Client reuses its connections, bounds every call in time, retries
// queries after transient failures and is safe to use from several threads
// at once. Copies share one transport. It never prints anything.

#include <google/protobuf/arena.h>
#include <google/protobuf/message.h>

#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "vrex/AsyncCall.h"
#include "vrex/ClientOptions.h"
#include "vrex/Download.h"
#include "vrex/Export.h"
#include "vrex/Outcome.h"
#include "vrex/RequestTraits.h"
#include "vrex/Result.h"
#include "vrex/Transport.h"

namespace vrex {

namespace internal {
class ClientCalls;
class AnswerParser;
class WarmArenas;
}

class VREX_EXPORT Client {
 public:
  /// A client on the libcurl transport.
  explicit Client(ClientOptions options);
  /// A client on the given transport (a fake or mock in tests); options
  /// that only concern the connection are the transport's business.
  Client(ClientOptions options, std::shared_ptr<Transport> transport);

  /// Sends a query and returns its answer, of the type the catalog names.
  ///
  /// The answer lives on an arena of its own that the Result keeps alive, so
  /// it may outlive the client and later answers, and Results move freely.
  /// The arena's memory comes from blocks the client keeps warm: the size of
  /// its largest answer so far stays reserved until the client and its last
  /// answer are gone, and a large answer parses 2 to 3 times faster than on
  /// the heap (docs/benchmarks.md). Moving the message out of the Result
  /// (`std::move(result).Value()`, `Answer a = std::move(*result)`) or
  /// copying the Result copies the message; keep the Result to avoid that.
  template <class Query, std::enable_if_t<kIsQuery<Query>, int> = 0>
  Result<AnswerOf<Query>, Outcome> Send(const Query& query) const {
    static_assert(RequestTraits<Query>::AnswerIsDeclared());
    std::shared_ptr<google::protobuf::Arena> arena = NewAnswerArena();
    auto* answer = google::protobuf::Arena::CreateMessage<AnswerOf<Query>>(arena.get());
    Outcome outcome =
        Exchange(RequestTraits<Query>::kName, RequestTraits<Query>::kRepeatable, query, answer);
    return Result<AnswerOf<Query>, Outcome>(answer, std::move(arena), std::move(outcome));
  }

  /// Sends a query and parses its answer into a message on `arena`, which
  /// must outlive the result.
  template <class Query, std::enable_if_t<kIsQuery<Query>, int> = 0>
  Result<AnswerOf<Query>, Outcome> Send(const Query& query, google::protobuf::Arena& arena) const {
    static_assert(RequestTraits<Query>::AnswerIsDeclared());
    auto* answer = google::protobuf::Arena::CreateMessage<AnswerOf<Query>>(&arena);
    Outcome outcome =
        Exchange(RequestTraits<Query>::kName, RequestTraits<Query>::kRepeatable, query, answer);
    return Result<AnswerOf<Query>, Outcome>(answer, std::move(outcome));
  }

  /// Sends a command; its outcome is all the server answers.
  template <class Command, std::enable_if_t<kIsCommand<Command>, int> = 0>
  [[nodiscard]] Outcome Send(const Command& command) const {
    return Exchange(RequestTraits<Command>::kName, RequestTraits<Command>::kRepeatable, command,
                    nullptr);
  }

  /// Streams the file a file request is answered with to `onChunk`.
  template <class FileRequest, std::enable_if_t<kIsFileRequest<FileRequest>, int> = 0>
  Outcome Download(const FileRequest& request, const ChunkHandler& onChunk,
                   const DownloadOptions& options = {}) const {
    return Download(RequestTraits<FileRequest>::kName, request, onChunk, options);
  }

  /// Writes the file a file request is answered with to `target`: under a
  /// temporary name in the same directory, renamed to `target` on success,
  /// removed on failure and on cancellation (an existing `target` is then
  /// left as it was).
  template <class FileRequest, std::enable_if_t<kIsFileRequest<FileRequest>, int> = 0>
  Outcome DownloadToFile(const FileRequest& request, const std::filesystem::path& target,
                         const DownloadOptions& options = {}) const {
    return DownloadToFile(RequestTraits<FileRequest>::kName, request, target, options);
  }

  // The generic forms, for requests known only at run time.

  /// Sends `request` to the endpoint named after its type and parses a 200
  /// answer into `answer`, as VrexClient::Post does. Retried only when the
  /// catalog lists the request as a query or file request not named
  /// "...Command".
  Outcome Send(const google::protobuf::Message& request, google::protobuf::Message& answer) const;
  /// The same, to the endpoint `requestType`.
  Outcome Send(std::string_view requestType, const google::protobuf::Message& request,
               google::protobuf::Message& answer) const;
  Outcome Download(std::string_view requestType, const google::protobuf::Message& request,
                   const ChunkHandler& onChunk, const DownloadOptions& options = {}) const;
  Outcome DownloadToFile(std::string_view requestType, const google::protobuf::Message& request,
                         const std::filesystem::path& target,
                         const DownloadOptions& options = {}) const;

  // Asynchronous calls. Each returns at once; one event thread of the client
  // (started with the first such call) runs them, many at once: up to
  // ClientOptions::maxConnectionsPerHost connections, further calls queued.
  // Time-outs, retries of queries with back-off, TLS, proxy, wire trace and
  // the answer size limit hold as for the synchronous forms. Results may be
  // waited for, and calls started, from any thread. Cancelling a call ends it
  // at once wherever it is: running, queued or waiting out a back-off (an
  // answer already in and being parsed is parsed to its end first). Answers
  // stream into the parser as for Send and are parsed on the client's
  // parsing threads, so a large one holds up no other call.
  //
  // The forms with a callback call `onDone` on the event thread: keep it
  // short, and never wait there for another call of the same client.
  //
  // The last copy of a client may be let go on any thread, inside an
  // `onDone` too. It ends the calls still under way as Cancelled and returns
  // only once every call's `onDone` has run (its result is in), each exactly
  // once; let go inside an `onDone`, the others' run there, before the
  // destructor returns. Nothing of the client runs the caller's code after
  // that: the wire trace handler is not called again either. Only a
  // download's chunk or progress handler, which runs inside its transfer,
  // must not let the last copy go (the destructor would wait for that very
  // transfer).

  /// Sends a query; the result arrives in the AsyncCall.
  template <class Query, std::enable_if_t<kIsQuery<Query>, int> = 0>
  [[nodiscard]] AsyncCall<Result<AnswerOf<Query>, Outcome>> SendAsync(const Query& query) const {
    return Promised<Result<AnswerOf<Query>, Outcome>>(
        [&](auto onDone) { return SendAsync(query, std::move(onDone)); });
  }

  /// Sends a query; `onDone` receives the result, whose answer lives on an
  /// arena of its own as with Send.
  template <class Query, std::enable_if_t<kIsQuery<Query>, int> = 0>
  CallCanceller SendAsync(const Query& query,
                          std::function<void(Result<AnswerOf<Query>, Outcome>)> onDone) const {
    static_assert(RequestTraits<Query>::AnswerIsDeclared());
    using Answer = AnswerOf<Query>;
    std::shared_ptr<google::protobuf::Arena> arena = NewAnswerArena();
    auto* answer = google::protobuf::Arena::CreateMessage<Answer>(arena.get());
    return StartExchange(RequestTraits<Query>::kName, RequestTraits<Query>::kRepeatable, query,
                         answer, [arena, answer, onDone = std::move(onDone)](Outcome outcome) {
                           onDone(Result<Answer, Outcome>(answer, arena, std::move(outcome)));
                         });
  }

  /// Sends a query whose answer is parsed into a message on `arena`, which
  /// must outlive the result.
  template <class Query, std::enable_if_t<kIsQuery<Query>, int> = 0>
  [[nodiscard]] AsyncCall<Result<AnswerOf<Query>, Outcome>> SendAsync(
      const Query& query, google::protobuf::Arena& arena) const {
    static_assert(RequestTraits<Query>::AnswerIsDeclared());
    using Answer = AnswerOf<Query>;
    auto* answer = google::protobuf::Arena::CreateMessage<Answer>(&arena);
    return Promised<Result<Answer, Outcome>>([&](auto onDone) {
      return StartExchange(RequestTraits<Query>::kName, RequestTraits<Query>::kRepeatable, query,
                           answer, [answer, onDone = std::move(onDone)](Outcome outcome) {
                             onDone(Result<Answer, Outcome>(answer, std::move(outcome)));
                           });
    });
  }

  /// Sends a command.
  template <class Command, std::enable_if_t<kIsCommand<Command>, int> = 0>
  [[nodiscard]] AsyncCall<Outcome> SendAsync(const Command& command) const {
    return Promised<Outcome>([&](auto onDone) {
      return StartExchange(RequestTraits<Command>::kName, RequestTraits<Command>::kRepeatable,
                           command, nullptr, std::move(onDone));
    });
  }

  /// Sends every query at once and returns their results in the order given.
  template <class Query, std::enable_if_t<kIsQuery<Query>, int> = 0>
  [[nodiscard]] std::vector<Result<AnswerOf<Query>, Outcome>> SendAll(
      const std::vector<Query>& queries) const {
    std::vector<AsyncCall<Result<AnswerOf<Query>, Outcome>>> calls;
    calls.reserve(queries.size());
    for (const Query& query : queries) {
      calls.push_back(SendAsync(query));
    }
    std::vector<Result<AnswerOf<Query>, Outcome>> results;
    results.reserve(calls.size());
    for (auto& call : calls) {
      results.push_back(call.Get());
    }
    return results;
  }

  /// Streams a file answer to `onChunk` (called on the event thread).
  template <class FileRequest, std::enable_if_t<kIsFileRequest<FileRequest>, int> = 0>
  AsyncCall<Outcome> DownloadAsync(const FileRequest& request, ChunkHandler onChunk,
                                   DownloadOptions options = {}) const {
    return Promised<Outcome>([&](auto onDone) {
      return StartDownload(RequestTraits<FileRequest>::kName, request, std::move(onChunk),
                           std::move(options), std::move(onDone));
    });
  }

  /// Writes a file answer to `target` as DownloadToFile does.
  template <class FileRequest, std::enable_if_t<kIsFileRequest<FileRequest>, int> = 0>
  AsyncCall<Outcome> DownloadToFileAsync(const FileRequest& request,
                                         const std::filesystem::path& target,
                                         DownloadOptions options = {}) const {
    return Promised<Outcome>([&](auto onDone) {
      return StartDownloadToFile(RequestTraits<FileRequest>::kName, request, target,
                                 std::move(options), std::move(onDone));
    });
  }

  /// Ends every call under way on this client and its copies as Cancelled.
  void CancelAll() const;

  const std::string& BaseUrl() const { return baseUrl_; }

 private:
  // Runs `start` with a callback that fulfils the returned call's promise.
  template <class R, class Start>
  static AsyncCall<R> Promised(Start start) {
    auto promise = std::make_shared<std::promise<R>>();
    std::future<R> future = promise->get_future();
    CallCanceller canceller =
        start(std::function<void(R)>([promise](R result) { promise->set_value(std::move(result)); }));
    return AsyncCall<R>(std::move(future), std::move(canceller));
  }

  using Clock = std::chrono::steady_clock;
  // Starts the attempts of an asynchronous call; `onEnd` gets the last
  // response, the attempts made and the time the call started. `onChunk`,
  // `restart` and `settle` are those of internal::AnswerReceiver (std types
  // here: nothing internal is exported).
  CallCanceller Start(std::string_view requestType, bool repeatable,
                      const google::protobuf::Message& request, std::chrono::milliseconds timeout,
                      std::uint64_t maxStreamedBytes, StreamHandler onChunk,
                      std::function<void()> restart,
                      std::function<void(const HttpResponse&, std::function<void()>)> settle,
                      std::function<void(const HttpResponse&, int, Clock::time_point)> onEnd) const;
  CallCanceller StartExchange(std::string_view requestType, bool repeatable,
                              const google::protobuf::Message& request,
                              google::protobuf::Message* answer,
                              std::function<void(Outcome)> onOutcome) const;
  CallCanceller StartDownload(std::string_view requestType,
                              const google::protobuf::Message& request, ChunkHandler onChunk,
                              DownloadOptions options, std::function<void(Outcome)> onOutcome) const;
  CallCanceller StartDownloadToFile(std::string_view requestType,
                                    const google::protobuf::Message& request,
                                    const std::filesystem::path& target, DownloadOptions options,
                                    std::function<void(Outcome)> onOutcome) const;

  // An arena for one answer, on the blocks this client keeps warm.
  std::shared_ptr<google::protobuf::Arena> NewAnswerArena() const;
  Outcome Exchange(std::string_view requestType, bool repeatable,
                   const google::protobuf::Message& request,
                   google::protobuf::Message* answer) const;
  HttpRequest BuildRequest(std::string_view requestType, const google::protobuf::Message& request,
                           std::chrono::milliseconds timeout) const;

  std::string baseUrl_;
  std::chrono::milliseconds totalTimeout_;
  std::uint64_t maxAnswerBytes_;
  RetryPolicy retry_;
  std::shared_ptr<Transport> transport_;
  std::shared_ptr<internal::ClientCalls> calls_;  // of the asynchronous calls; held by copies only
  std::shared_ptr<internal::AnswerParser> parser_;
  std::shared_ptr<internal::WarmArenas> arenas_;
};

}  // namespace vrex
