#pragma once
// The seam between vrex::Client and the network. The client turns a request
// message into an HttpRequest and reads the HttpResponse; the transport only
// moves bytes. The libcurl transport is the default (vrex/CurlTransport.h);
// tests put an in-process fake or vrex/mocks/MockTransport.h in its place.

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

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
};

/// What came back. A transport failure (no complete HTTP exchange) is told
/// by a non-empty `transportError`, whatever `status` says.
struct HttpResponse {
  int status = 0;              ///< HTTP status; 0 when none was received
  std::string body;            ///< the whole body, unless it was streamed
  std::string transportError;  ///< empty when the exchange completed
  bool cancelled = false;      ///< a stream handler returned false

  bool TransportFailed() const { return !transportError.empty(); }
};

/// Receives the body of a 200 answer chunk by chunk. `expectedSize` is the
/// length the server announced, 0 when it did not. Returning false cancels
/// the transfer.
using StreamHandler = std::function<bool(std::string_view chunk, std::uint64_t expectedSize)>;

/// Must be safe to call from several threads at once.
class VREX_EXPORT Transport {
 public:
  virtual ~Transport() = default;

  /// Sends `request` and returns the whole answer.
  virtual HttpResponse Post(const HttpRequest& request) = 0;

  /// Sends `request`; the body of a 200 answer goes to `onChunk` and is not
  /// kept in the response, the body of any other status is kept as by Post.
  virtual HttpResponse PostStreaming(const HttpRequest& request, const StreamHandler& onChunk) = 0;
};

}  // namespace vrex
