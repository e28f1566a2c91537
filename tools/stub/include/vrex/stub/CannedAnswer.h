#pragma once
// What the stub server sends back for one request type. Kept a plain value so
// that tests can build, copy and tweak answers freely; everything the server
// does with an answer is decided by these fields alone.

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace google::protobuf {
class Message;
}

namespace vrex::stub {

inline constexpr std::string_view kProtobufContentType = "application/x-protobuf";
/// The type of an answer given as raw bytes rather than as a message.
inline constexpr std::string_view kRawContentType = "application/octet-stream";

/// One extra response header, sent as given.
struct ResponseHeader {
  std::string name;
  std::string value;
};

/// How the server puts an answer on the wire. All but `Whole` and `Chunked`
/// break HTTP off the way failing networks and servers do, for tests of what
/// clients make of it. Every delivery ends when the client closes the
/// connection or the server stops, endless ones included.
enum class Delivery {
  /// After `delay`, with a Content-Length: the normal answer.
  Whole,
  /// After `delay`, in chunked transfer coding: `body` sent `repeat` times,
  /// one chunk each, generated while sending (memory stays that of `body`).
  Chunked,
  /// No answer at all: the connection stays silent for `delay`, then closes.
  CloseWithoutAnswer,
  /// The head announcing the whole body and the body's first half at once;
  /// then the connection stays silent for `delay` and closes.
  CloseMidBody,
  /// `body` is the whole response as it goes on the wire: no status line or
  /// headers of the server's own; the connection closes after it. For answers
  /// that are no HTTP (a malformed status line, a truncated head).
  Raw,
  /// A 200 status line, then header lines without end (about 1 KiB each)
  /// until the client closes or the server stops.
  EndlessHeaders,
};

/// `repeat` value that makes a Chunked delivery endless (until the client
/// closes or the server stops).
inline constexpr std::uint64_t kEndless = std::numeric_limits<std::uint64_t>::max();

/// A prepared answer: sent after `delay` with `status`, `contentType`,
/// `headers` and exactly the bytes of `body`, unless `delivery` says otherwise.
struct CannedAnswer {
  int status = 200;
  std::string body;
  std::string contentType = std::string(kProtobufContentType);
  /// Time the server stays silent before it answers (or closes, see
  /// `delivery`); cut short when the server stops.
  std::chrono::milliseconds delay{0};
  /// Extra headers, e.g. "Location" for a redirect.
  std::vector<ResponseHeader> headers;
  Delivery delivery = Delivery::Whole;
  /// Times `body` is sent in a Chunked delivery; kEndless for no end.
  std::uint64_t repeat = 1;
  /// Sent as Content-Length instead of the body's size, for a server that
  /// lies about sizes (with Whole; the body as given follows, then the
  /// connection closes when fewer bytes were sent than announced, or more).
  std::optional<std::uint64_t> announcedLength;
  /// Pause before each chunk of a Chunked delivery (and each header line of
  /// EndlessHeaders): a trickle.
  std::chrono::milliseconds pace{0};
};

/// `status` with `text` and a line end as a "text/plain" body.
CannedAnswer TextAnswer(int status, std::string text);

/// A 200 answer whose body is the binary encoding of `message`. Maps are
/// written in key order, so equal messages always give equal bodies.
CannedAnswer MessageAnswer(const google::protobuf::Message& message);

/// The binary encoding of `message` with map entries in key order.
std::string SerializeDeterministically(const google::protobuf::Message& message);

}  // namespace vrex::stub
