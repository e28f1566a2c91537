#pragma once
// What the stub server sends back for one request type. Kept a plain value so
// that tests can build, copy and tweak answers freely; everything the server
// does with an answer is decided by these fields alone.

#include <chrono>
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

/// A prepared answer: sent after `delay` with `status`, `contentType`,
/// `headers` and exactly the bytes of `body`.
struct CannedAnswer {
  int status = 200;
  std::string body;
  std::string contentType = std::string(kProtobufContentType);
  /// Time the server waits before it answers; cut short when the server stops.
  std::chrono::milliseconds delay{0};
  /// Extra headers, e.g. "Location" for a redirect.
  std::vector<ResponseHeader> headers;
};

/// A 200 answer whose body is the binary encoding of `message`. Maps are
/// written in key order, so equal messages always give equal bodies.
CannedAnswer MessageAnswer(const google::protobuf::Message& message);

/// The binary encoding of `message` with map entries in key order.
std::string SerializeDeterministically(const google::protobuf::Message& message);

}  // namespace vrex::stub
