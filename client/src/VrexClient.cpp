#include "VrexClient.h"

#include <curl/curl.h>

#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

#include "transport/GatewayToken.h"
#include "transport/StatusDetail.h"
#include "transport/WireForm.h"
#include "vrex/RequestTraits.h"

namespace VrexClient {

namespace {

using contracts::MessageContainer;
namespace enums = contracts::Enumerator;
namespace wire = vrex::internal::wire;

// Post keeps the header list of every call and, after a failed transfer, the
// handle with its connection. Those are the library's two intended leaks;
// the three helpers below carry them under names that leak checkers can be
// told about without hiding anything else.
curl_slist* AppendPostHeaders(std::int32_t requestSize) {
  const std::string contentType = wire::ContentTypeLine(wire::ContentTypeOf(requestSize == 0));
  const std::string authentication =
      wire::AuthenticationLine(vrex::internal::gatewayAuthenticationToken);
  curl_slist* headers = nullptr;
  headers = curl_slist_append(headers, contentType.c_str());
  headers = curl_slist_append(headers, wire::kAcceptLine);
  headers = curl_slist_append(headers, authentication.c_str());
  return headers;
}

CURL* OpenPostHandle() { return curl_easy_init(); }

CURLcode PerformPostTransfer(CURL* handle) { return curl_easy_perform(handle); }

void SetStatus(MessageContainer& status, enums::CodeCategory category, enums::DetailCode detail,
               enums::LogLevel level) {
  status.set_codecategory(category);
  status.set_detailcode(detail);
  status.set_level(level);
}

// libcurl's write callback: appends every chunk to the body, never refusing one.
std::size_t WriteResponseBody(void* data, std::size_t size, std::size_t count, std::string* body) {
  const std::size_t length = size * count;
  body->append(static_cast<const char*>(data), length);
  return length;
}

// A typed read: the catalog names the query's endpoint and answer type.
template <typename Query>
vrex::AnswerOf<Query> SendTyped(std::string serverUrl, const Query& query,
                                MessageContainer& container, std::string unusedText) {
  vrex::AnswerOf<Query> result;
  std::string url = wire::EndpointUrl(serverUrl, vrex::RequestTraits<Query>::kName);
  container = Post(std::move(url), query, result, std::move(unusedText));
  return result;
}

}  // namespace

MessageContainer Post(std::string url, const google::protobuf::Message& request,
                      google::protobuf::Message& response, std::string /*unusedText*/) {
  MessageContainer status;
  std::string responseBody;
  curl_global_init(CURL_GLOBAL_ALL);
  CURL* handle = OpenPostHandle();
  if (handle == nullptr) {
    curl_global_cleanup();
    return status;  // All zero, as for a success: kept on purpose.
  }

  const auto requestSize = static_cast<std::int32_t>(request.ByteSizeLong());
  std::vector<char> requestBody;
  if (requestSize != 0) {
    requestBody.assign(static_cast<std::size_t>(requestSize), '\0');
    request.SerializeToArray(requestBody.data(), requestSize);
  }
  curl_slist* headers = AppendPostHeaders(requestSize);

  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  if (requestSize != 0) {
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, requestBody.data());
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(requestSize));
  } else {
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, wire::kEmptyBody);
  }
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &WriteResponseBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &responseBody);

  const CURLcode transfer = PerformPostTransfer(handle);
  if (transfer != CURLE_OK) {
    const std::string reason = curl_easy_strerror(transfer);
    std::fprintf(stderr, "curl_easy_perform() failed: %s\n", reason.c_str());
    SetStatus(status, enums::CodeCategory_Backend, enums::NoDetailCode, enums::Error);
    return status;  // The handle and global state are kept: by design.
  }

  long responseCode = 0;
  curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &responseCode);
  const auto httpStatus = static_cast<std::int32_t>(responseCode);
  if (httpStatus == 200) {
    if (response.ParseFromArray(responseBody.data(), static_cast<int>(responseBody.size()))) {
      status = MessageContainer();
      status.set_codecategory(enums::CodeCategory_None);
    } else {
      SetStatus(status, enums::CodeCategory_Backend, enums::NoDetailCode, enums::Error);
    }
  } else {
    SetStatus(status, enums::CodeCategory_ApiPipeline,
              vrex::internal::DetailCodeForStatus(httpStatus), enums::Error);
  }

  curl_easy_cleanup(handle);
  curl_global_cleanup();
  return status;
}

bool CheckVersion(std::string serverUrl, MessageContainer& container, std::string unusedText) {
  const contracts::ApiVersionQuery query;
  const contracts::VersionDTO version = SendToServer(serverUrl, query, container, unusedText);
  if (container.codecategory() != enums::CodeCategory_None) {
    return false;
  }
  return vrex::IsAcceptedVersion(version);
}

// The declared answer type of each read must be the catalog's, or the
// definition below would not match its declaration.
#define VREX_SEND_TO_SERVER(Query)                                                       \
  vrex::AnswerOf<contracts::Query> SendToServer(                                         \
      std::string serverUrl, const contracts::Query& query, MessageContainer& container, \
      std::string unusedText) {                                                          \
    return SendTyped(std::move(serverUrl), query, container, std::move(unusedText));     \
  }
VREX_SEND_TO_SERVER(ApiVersionQuery)
VREX_SEND_TO_SERVER(SimpleTopologyQuery)
VREX_SEND_TO_SERVER(GeneralInformationByIdQuery)
VREX_SEND_TO_SERVER(GeneralInformationQuery)
VREX_SEND_TO_SERVER(ResultDbIdNameTablesQuery)
VREX_SEND_TO_SERVER(ProtocolCrossReferenceQuery)
VREX_SEND_TO_SERVER(MeasurementByIdQuery)
VREX_SEND_TO_SERVER(MeasurementQuery)
VREX_SEND_TO_SERVER(VectorTrackOfMeasurementsByIdQuery)
VREX_SEND_TO_SERVER(VectorTrackOfMeasurementsQuery)
#undef VREX_SEND_TO_SERVER

}  // namespace VrexClient
