#pragma once
// How a request travels to the gateway: its path, its body and content type,
// and the headers every request carries. The established functions, the
// session client and the libcurl transport all write requests this way.

#include <string>
#include <string_view>

namespace vrex::internal::wire {

/// The gateway takes an empty message as this JSON object, sent as kJsonType.
inline constexpr char kEmptyBody[] = "{}";
inline constexpr std::string_view kJsonType = "application/json";
inline constexpr std::string_view kProtobufType = "application/x-protobuf";

inline constexpr std::string_view kContentTypeName = "Content-Type: ";
inline constexpr std::string_view kAuthenticationName = "GatewayApiAuthentication: ";
/// Answers are asked for as protobuf.
inline constexpr char kAcceptLine[] = "accept: application/x-protobuf";

/// The endpoint of a request: base + "/api/" + name, joined unchanged.
inline std::string EndpointUrl(std::string_view baseUrl, std::string_view requestType) {
  std::string url(baseUrl);
  url.append("/api/").append(requestType);
  return url;
}

/// The content type of a serialized request body (kEmptyBody stands for an empty one).
constexpr std::string_view ContentTypeOf(bool emptyBody) {
  return emptyBody ? kJsonType : kProtobufType;
}

inline std::string ContentTypeLine(std::string_view contentType) {
  return std::string(kContentTypeName).append(contentType);
}

inline std::string AuthenticationLine(std::string_view token) {
  return std::string(kAuthenticationName).append(token);
}

}  // namespace vrex::internal::wire
