#pragma once
// What the stub server sends back for one request type. Kept a plain value so
// that tests can build, copy and tweak answers freely; everything the server
// does with an answer is decided by these fields alone.

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace google::protobuf {
class Message;
}

namespace vrex::stub {

inline constexpr std::string_view kProtobufContentType = "application/x-protobuf";

/// One extra response header, sent as given.
struct ResponseHeader {
  std::string name;
  std::string value;
};

/// How the server puts an answer on the wire. All but `Whole` and `Chunked`
/// break HTTP off the way failing networks and servers do, for tests of what
/// clients make of it.
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
};

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
  /// Times `body` is sent in a Chunked delivery.
  std::uint64_t repeat = 1;
};

/// A 200 answer whose body is the binary encoding of `message`. Maps are
/// written in key order, so equal messages always give equal bodies.
CannedAnswer MessageAnswer(const google::protobuf::Message& message);

/// The binary encoding of `message` with map entries in key order.
std::string SerializeDeterministically(const google::protobuf::Message& message);

}  // namespace vrex::stub
