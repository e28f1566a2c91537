#pragma once
// Everything vrex::Client is built from.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "vrex/Export.h"

namespace vrex {

/// TLS settings for https base URLs; libcurl's defaults where left empty.
struct TlsOptions {
  bool verifyPeer = true;         ///< check the server certificate and host name
  std::string caFile;             ///< CA bundle (PEM) instead of the system's
  std::string caDirectory;        ///< directory of CA certificates
  std::string clientCertificate;  ///< client certificate (PEM) for mutual TLS
  std::string clientKey;          ///< its private key (PEM)
};

/// How often a call is repeated. Only requests the catalog marks repeatable
/// (RequestList.inc) are retried, only after a transport failure or a status
/// 502, 503 or 504. The wait before attempt n+1 is drawn at random between
/// half and all of min(initialDelay * 2^(n-1), maxDelay).
struct RetryPolicy {
  int maxAttempts = 3;  ///< 1 turns retrying off
  std::chrono::milliseconds initialDelay{100};
  std::chrono::milliseconds maxDelay{2000};
  /// No further attempt starts when it would begin later than this after the
  /// start of the call.
  std::chrono::milliseconds maxTotalTime{10000};
};

/// How answers are parsed. An answer whose bulk is a top-level list or map
/// (most containers: `Values`, `Measurements`, ...) and that is at least
/// `parallelFrom` bytes long is cut at top-level field boundaries into slices
/// that are parsed on several threads while the rest still arrives, then
/// joined without copying the parsed elements. The message is the same as a
/// parse in one piece; answers of other shapes, and encodings where slices
/// would not merge back exactly, are parsed in one piece.
struct ParseOptions {
  /// Answers of at least this many bytes are parsed in slices; when the
  /// server does not announce the length, slicing starts once this many
  /// bytes have arrived.
  std::size_t parallelFrom = std::size_t{4} << 20;
  /// Threads that parse one answer, the calling thread included; 0: as many
  /// as the machine has cores, 1: always in one piece. The client starts
  /// `threads` parsing threads when it first needs them and keeps them until
  /// its last copy is destroyed: Send parses on its calling thread and
  /// `threads - 1` of them, an asynchronous call on `threads` of them (one
  /// standing in for the calling thread), never on the event thread.
  unsigned threads = 0;
};

/// What one line of a wire trace shows.
enum class WireTraceKind {
  Info,            ///< libcurl's notes: connecting, connected, TLS, ...
  RequestHeaders,  ///< the request line and headers as sent, token masked
  ResponseHeader,  ///< the status line or one header of the answer
};

/// Receives the trace of each exchange (for a verbose mode); called on the
/// calling thread while the exchange runs. Bodies are never traced.
using WireTraceHandler = std::function<void(WireTraceKind kind, std::string_view text)>;

struct ClientOptions {
  /// Scheme, host, optional port and path prefix, without "/api/"; used as
  /// given, like the established API.
  std::string baseUrl;
  /// Sent in "GatewayApiAuthentication"; the build's token when unset. It
  /// must keep the build token's rule (GatewayTokenProblem).
  std::optional<std::string> token;
  /// Both longer than 0 ms: libcurl would read 0 as "no time-out".
  std::chrono::milliseconds connectTimeout{10000};
  /// Bound of one attempt, answer included; downloads may set their own.
  std::chrono::milliseconds totalTimeout{60000};
  /// Most bytes of an answer the client holds in memory (default 1 GiB): an
  /// answer announced larger fails before its body is read, one that grows
  /// larger is stopped as soon as it passes. protobuf cannot parse a message
  /// over 2 GiB anyway. 0 means no limit (trust the server with your memory).
  /// Files streamed by Download have their own limit (DownloadOptions).
  std::uint64_t maxAnswerBytes = std::uint64_t{1} << 30;
  TlsOptions tls;
  /// Proxy URL; unset: libcurl's default (the proxy environment variables);
  /// empty: no proxy at all.
  std::optional<std::string> proxy;
  std::string userAgent = "lVrexClient";
  /// "Accept-Encoding" values; unset: none sent; empty: every encoding this
  /// libcurl can decode.
  std::optional<std::string> acceptEncoding;
  RetryPolicy retry;
  /// Asynchronous calls (SendAsync, DownloadAsync, SendAll): connections to
  /// the server at once, and calls under way at once. A client talks to one
  /// host, so at most the smaller of the two run at a time; further calls
  /// wait in a queue, where their time-out does not yet run.
  std::size_t maxConnectionsPerHost = 8;
  std::size_t maxRequestsInFlight = 64;
  ParseOptions parsing;
  /// Unset: nothing is traced. The values of "GatewayApiAuthentication",
  /// "Authorization" and "Proxy-Authorization", the token wherever it shows
  /// and URL passwords are shown as "***" (vrex/data/SecretMask.h).
  WireTraceHandler onWireTrace;
};

/// Why `token` cannot be sent as the gateway token, in words that do not
/// repeat it; empty when it can. The rule of the build's token, except its
/// length: not empty, printable ASCII from the blank (0x20) to the tilde
/// (0x7E), neither starting nor ending with a blank. (A CR or LF would end
/// the header and start another.)
VREX_EXPORT std::string GatewayTokenProblem(std::string_view token);

/// Why no call can be made with `options`, empty when there is no reason: a
/// token that breaks the rule above, a time-out of 0 ms or less, a negative
/// retry delay. A client made with such options sends nothing: every call
/// fails with Outcome::Event::ClientFailed and this text.
VREX_EXPORT std::string ClientOptionsProblem(const ClientOptions& options);

}  // namespace vrex
