#pragma once
// A stand-in results server for tests and demonstrations. It answers
// "POST /api/<RequestType>" with canned answers and records every request it
// receives in a journal, headers in the order they came.
//
//   vrex::stub::StubServer server;          // 127.0.0.1, ephemeral port
//   server.SetAnswerMessage("ApiVersionQuery", version);
//   server.Start();
//   VrexClient::CheckVersion(server.BaseUrl(), status, "");
//   auto requests = server.Journal();
//
// Which answer a request gets:
//   - a request type with a responder: what it computes from the request;
//   - a request type with cases (StubCase.h): the next answer of the first
//     case the request matches; 404 naming the closest cases and the field
//     that differed when none does (journalled as unmatched);
//   - a request type without cases, when a plant (Plant.h) is set and holds
//     data of that type: what the plant computes from the request;
//   - a request type the catalog knows, without any of these: 200 with an empty body
//     (an empty message of any type);
//   - a request type the catalog does not know, or a path that is not
//     "/api/<RequestType>": 404;
//   - another method than POST on "/api/<RequestType>": 405;
//   - a path under "/__stub/": the admin API, which does what these
//     functions do for tests in other languages (docs/stub.md).

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vrex/stub/AnswerLoader.h"
#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/JournalEntry.h"
#include "vrex/stub/Plant.h"
#include "vrex/stub/Responder.h"
#include "vrex/stub/StubCase.h"
#include "vrex/stub/StubServerOptions.h"

namespace google::protobuf {
class Message;
}

namespace vrex::stub {

/// Called on the serving thread for every request, once its answer is chosen
/// and before any delay.
using RequestObserver = std::function<void(const JournalEntry&, const CannedAnswer&)>;

class StubServer {
 public:
  explicit StubServer(StubServerOptions options = {});
  ~StubServer();  ///< stops the server when it runs
  StubServer(const StubServer&) = delete;
  StubServer& operator=(const StubServer&) = delete;

  /// Binds and starts serving on background threads; returns once requests
  /// are accepted. Throws std::runtime_error when the address cannot be bound,
  /// std::logic_error when already running. A stopped server may start again.
  void Start();
  /// Stops accepting, cuts pending delays short and waits for the serving
  /// threads. Does nothing when not running.
  void Stop();
  bool IsRunning() const;
  /// Serves one already connected socket (say one end of a socket pair) on
  /// the calling thread, as if it had been accepted, until its peer closes;
  /// then closes it. For in-process drivers that need no TCP, such as
  /// fuzzers. Throws std::logic_error when the server is not running.
  void ServeConnection(int socket);
  /// The bound port while running, else 0.
  int Port() const;
  /// "http://HOST:PORT", the server URL that client calls take.
  std::string BaseUrl() const;

  /// Makes `answer` the only answer of the default case of `requestType`.
  /// Throws std::invalid_argument when the catalog knows no `requestType`.
  void SetAnswer(std::string_view requestType, CannedAnswer answer);
  /// The binary encoding of `message` with `status` (map entries in key order).
  void SetAnswerMessage(std::string_view requestType, const google::protobuf::Message& message,
                        int status = 200);
  /// Removes every case of `requestType`.
  void ClearAnswer(std::string_view requestType);
  /// Removes every case.
  void ClearAnswers();
  /// Adds a case after the type's cases with a match; a default case
  /// replaces the type's default. Throws std::invalid_argument, naming the
  /// cause, for an unknown request type or a match that is no JSON of its request.
  void AddCase(StubCase stubCase);
  /// Every case, by request type, in the order they are tried.
  std::vector<StubCase> Cases() const;
  /// Every case gives its first answer again.
  void ResetSequences();
  /// Answers each request of `requestType` with what `responder` computes
  /// from it; a responder goes before a canned answer of the same type.
  /// Throws std::invalid_argument when the catalog knows no `requestType`.
  void SetResponder(std::string_view requestType, Responder responder);
  /// As SetResponder, for a responder that waits on something else (a live
  /// server): it runs on threads of its own (`threads` of them), so that the
  /// serving threads answer other requests, the admin API's included,
  /// meanwhile. Stop waits for the calls under way.
  void SetBlockingResponder(std::string_view requestType, Responder responder);
  /// Removes the responder of `requestType`; its canned answer, if any, applies again.
  void ClearResponder(std::string_view requestType);
  /// Answers what no responder or case does from `plant`; nullptr removes it.
  void SetPlant(std::shared_ptr<const Plant> plant);
  /// The first answer of the default case of `requestType`, if it has one.
  std::optional<CannedAnswer> Answer(std::string_view requestType) const;
  /// Adds the cases of a data directory (see AnswerLoader.h), replacing
  /// those of the same request types; returns how many it added. On failure
  /// it changes nothing.
  Result<std::size_t> LoadAnswers(const std::filesystem::path& directory);

  /// Every request received since the start or the last ClearJournal, in
  /// arrival order.
  std::vector<JournalEntry> Journal() const;
  /// Empties the journal and restarts the count of PeakConnections.
  void ClearJournal();
  /// The most connections that were open at the same time since Start or the
  /// last ClearJournal.
  std::size_t PeakConnections() const;

  /// Replaces the observer; an empty function removes it.
  void SetRequestObserver(RequestObserver observer);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vrex::stub
