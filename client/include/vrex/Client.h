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
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "vrex/ClientOptions.h"
#include "vrex/Download.h"
#include "vrex/Export.h"
#include "vrex/Outcome.h"
#include "vrex/RequestTraits.h"
#include "vrex/Result.h"
#include "vrex/Transport.h"

namespace vrex {

namespace internal {
class AnswerParser;
}

class VREX_EXPORT Client {
 public:
  /// A client on the libcurl transport.
  explicit Client(ClientOptions options);
  /// A client on the given transport (a fake or mock in tests); options
  /// that only concern the connection are the transport's business.
  Client(ClientOptions options, std::shared_ptr<Transport> transport);

  /// Sends a query and returns its answer, of the type the catalog names.
  template <class Query, std::enable_if_t<kIsQuery<Query>, int> = 0>
  Result<AnswerOf<Query>, Outcome> Send(const Query& query) const {
    auto answer = std::make_unique<AnswerOf<Query>>();
    Outcome outcome =
        Exchange(RequestTraits<Query>::kName, RequestKind::Query, query, answer.get());
    return Result<AnswerOf<Query>, Outcome>(std::move(answer), std::move(outcome));
  }

  /// Sends a query and parses its answer into a message on `arena`, which
  /// must outlive the result.
  template <class Query, std::enable_if_t<kIsQuery<Query>, int> = 0>
  Result<AnswerOf<Query>, Outcome> Send(const Query& query, google::protobuf::Arena& arena) const {
    auto* answer = google::protobuf::Arena::CreateMessage<AnswerOf<Query>>(&arena);
    Outcome outcome = Exchange(RequestTraits<Query>::kName, RequestKind::Query, query, answer);
    return Result<AnswerOf<Query>, Outcome>(answer, std::move(outcome));
  }

  /// Sends a command; its outcome is all the server answers. Never retried.
  template <class Command, std::enable_if_t<kIsCommand<Command>, int> = 0>
  Outcome Send(const Command& command) const {
    return Exchange(RequestTraits<Command>::kName, RequestKind::Command, command, nullptr);
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

  const std::string& BaseUrl() const { return baseUrl_; }

 private:
  Outcome Exchange(std::string_view requestType, RequestKind kind,
                   const google::protobuf::Message& request,
                   google::protobuf::Message* answer) const;
  HttpRequest BuildRequest(std::string_view requestType, const google::protobuf::Message& request,
                           std::chrono::milliseconds timeout) const;

  std::string baseUrl_;
  std::chrono::milliseconds totalTimeout_;
  RetryPolicy retry_;
  std::shared_ptr<Transport> transport_;
  std::shared_ptr<internal::AnswerParser> parser_;
};

}  // namespace vrex
