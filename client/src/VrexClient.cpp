#include "VrexClient.h"

#include <curl/curl.h>

#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

#include "internal/GatewayToken.h"
#include "internal/StatusDetail.h"
#include "internal/WireForm.h"

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

template <typename Result, typename Query>
Result SendTyped(std::string serverUrl, const char* endpointName, const Query& query,
                 MessageContainer& container, std::string unusedText) {
  Result result;
  std::string url = wire::EndpointUrl(serverUrl, endpointName);
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

contracts::VersionDTO SendToServer(std::string serverUrl, const contracts::ApiVersionQuery& query,
                                   MessageContainer& container, std::string unusedText) {
  return SendTyped<contracts::VersionDTO>(std::move(serverUrl), "ApiVersionQuery", query, container,
                                          std::move(unusedText));
}

contracts::SimpleTopologyContainer SendToServer(std::string serverUrl,
                                                const contracts::SimpleTopologyQuery& query,
                                                MessageContainer& container,
                                                std::string unusedText) {
  return SendTyped<contracts::SimpleTopologyContainer>(std::move(serverUrl), "SimpleTopologyQuery",
                                                       query, container, std::move(unusedText));
}

contracts::GeneralInformationContainer SendToServer(
    std::string serverUrl, const contracts::GeneralInformationByIdQuery& query,
    MessageContainer& container, std::string unusedText) {
  return SendTyped<contracts::GeneralInformationContainer>(
      std::move(serverUrl), "GeneralInformationByIdQuery", query, container, std::move(unusedText));
}

contracts::GeneralInformationContainer SendToServer(std::string serverUrl,
                                                    const contracts::GeneralInformationQuery& query,
                                                    MessageContainer& container,
                                                    std::string unusedText) {
  return SendTyped<contracts::GeneralInformationContainer>(
      std::move(serverUrl), "GeneralInformationQuery", query, container, std::move(unusedText));
}

contracts::IdNameTableStore SendToServer(std::string serverUrl,
                                         const contracts::ResultDbIdNameTablesQuery& query,
                                         MessageContainer& container, std::string unusedText) {
  return SendTyped<contracts::IdNameTableStore>(std::move(serverUrl), "ResultDbIdNameTablesQuery",
                                                query, container, std::move(unusedText));
}

contracts::ProtocolCrossReferenceStore SendToServer(
    std::string serverUrl, const contracts::ProtocolCrossReferenceQuery& query,
    MessageContainer& container, std::string unusedText) {
  return SendTyped<contracts::ProtocolCrossReferenceStore>(
      std::move(serverUrl), "ProtocolCrossReferenceQuery", query, container, std::move(unusedText));
}

contracts::MeasurementContainer SendToServer(std::string serverUrl,
                                             const contracts::MeasurementByIdQuery& query,
                                             MessageContainer& container, std::string unusedText) {
  return SendTyped<contracts::MeasurementContainer>(std::move(serverUrl), "MeasurementByIdQuery",
                                                    query, container, std::move(unusedText));
}

contracts::MeasurementContainer SendToServer(std::string serverUrl,
                                             const contracts::MeasurementQuery& query,
                                             MessageContainer& container, std::string unusedText) {
  return SendTyped<contracts::MeasurementContainer>(std::move(serverUrl), "MeasurementQuery", query,
                                                    container, std::move(unusedText));
}

contracts::VectorTrackOfMeasurementsContainer SendToServer(
    std::string serverUrl, const contracts::VectorTrackOfMeasurementsByIdQuery& query,
    MessageContainer& container, std::string unusedText) {
  return SendTyped<contracts::VectorTrackOfMeasurementsContainer>(
      std::move(serverUrl), "VectorTrackOfMeasurementsByIdQuery", query, container,
      std::move(unusedText));
}

contracts::VectorTrackOfMeasurementsContainer SendToServer(
    std::string serverUrl, const contracts::VectorTrackOfMeasurementsQuery& query,
    MessageContainer& container, std::string unusedText) {
  return SendTyped<contracts::VectorTrackOfMeasurementsContainer>(
      std::move(serverUrl), "VectorTrackOfMeasurementsQuery", query, container,
      std::move(unusedText));
}

}  // namespace VrexClient
