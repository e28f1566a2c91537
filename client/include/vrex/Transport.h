#pragma once
// The seam between vrex::Client and the network. The client turns a request
// message into an HttpRequest and reads the HttpResponse; the transport only
// moves bytes. The libcurl transport is the default (vrex/CurlTransport.h);
// tests put an in-process fake or vrex/mocks/MockTransport.h in its place.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "vrex/CallEvent.h"
#include "vrex/Export.h"

namespace vrex {

/// One POST to the server's API gateway. The transport adds the fixed
/// "accept" and authentication headers itself: the token never reaches this
/// level.
struct HttpRequest {
  std::string requestType;  ///< e.g. "MeasurementQuery"; the URL ends with it
  std::string url;          ///< base URL + "/api/" + requestType
  std::string contentType;  ///< "application/x-protobuf", or "application/json" for "{}"
  std::string body;
  std::chrono::milliseconds timeout{0};  ///< whole exchange; 0 means none
  /// Most bytes of an answer body kept in memory (any status); 0 means no
  /// limit. An answer announced larger fails before its body is read; one
  /// that grows larger is stopped as soon as it passes the limit.
  std::uint64_t maxAnswerBytes = 0;
  /// The same for the body of a 200 answer handed to a StreamHandler.
  std::uint64_t maxStreamedBytes = 0;
};

/// Where an exchange broke off: None when it completed, one of the
/// transfer failures of CallEvent, or Cancelled.
using TransferFailure = CallEvent;

/// What came back. A transport failure (no complete HTTP exchange) is told
/// by `failure`, whatever `status` says; `cause` and `systemReason` then say
/// why as far as the transport could tell, `transportError` in its words.
struct HttpResponse {
  int status = 0;    ///< HTTP status; 0 when none was received
  std::string body;  ///< the whole body, unless it was streamed
  TransferFailure failure = TransferFailure::None;
  std::string transportError;        ///< empty when the exchange completed
  FailureCause cause = FailureCause::Unknown;
  /// The system's reason a connection failed, e.g. "Connection refused".
  std::string systemReason;
  std::uint64_t bytesReceived = 0;   ///< body bytes that arrived
  std::uint64_t bytesAnnounced = 0;  ///< the Content-Length; 0 when none was given

  bool TransportFailed() const { return failure != TransferFailure::None; }
};

/// Receives the body of a 200 answer chunk by chunk. `expectedSize` is the
/// length the server announced, 0 when it did not. Returning false cancels
/// the transfer.
using StreamHandler = std::function<bool(std::string_view chunk, std::uint64_t expectedSize)>;

/// One exchange started by PostAsync.
struct AsyncExchange {
  HttpRequest request;
  /// Wait before the exchange starts (a retry's back-off).
  std::chrono::milliseconds delay{0};
  /// Receives the body of a 200 answer, as for PostStreaming; empty: the
  /// body is kept in the response.
  StreamHandler onChunk;
  /// When it turns true the exchange ends as TransferFailure::Cancelled, at
  /// once if the transport is woken (WakeUp), else soon.
  std::shared_ptr<const std::atomic<bool>> cancelled;
  /// When set, receives the response of an exchange that completed (whatever
  /// its status) before onDone,
  /// on the transport's thread, and may hand work on it (parsing the answer)
  /// to another thread: it calls `resume` once that work is done, from any
  /// thread, and onDone then follows on the transport's thread. The response
  /// and the exchange stay put until then; a transport that is destroyed or
  /// ends cancelled exchanges waits for `resume` first.
  std::function<void(const HttpResponse& response, std::function<void()> resume)> settle;
  /// Receives the response, exactly once.
  std::function<void(HttpResponse)> onDone;
};

/// Must be safe to call from several threads at once.
class VREX_EXPORT Transport {
 public:
  virtual ~Transport() = default;

  /// Sends `request` and returns the whole answer.
  virtual HttpResponse Post(const HttpRequest& request) = 0;

  /// Sends `request`; the body of a 200 answer goes to `onChunk` and is not
  /// kept in the response, the body of any other status is kept as by Post.
  virtual HttpResponse PostStreaming(const HttpRequest& request, const StreamHandler& onChunk) = 0;

  /// Starts `exchange` and returns at once; its `onDone` (and `onChunk`) run
  /// on the transport's own thread. A transport destroyed with exchanges
  /// under way ends each as Cancelled. This default runs the exchange on the
  /// calling thread before it returns (a fake or mock transport needs no
  /// threads).
  virtual void PostAsync(AsyncExchange exchange);

  /// Looks at the `cancelled` flags of the exchanges under way now: those
  /// cancelled end soon, wherever they wait.
  virtual void WakeUp() {}

  /// Ends the exchanges whose `cancelled` flag is set. Called on the
  /// transport's own thread (from an onDone), it calls their onDone before it
  /// returns; elsewhere it is WakeUp. A client calls it when its last copy
  /// goes, having cancelled its calls.
  virtual void EndCancelled() { WakeUp(); }
};

}  // namespace vrex
