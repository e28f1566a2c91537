#include "internal/CurlHttpTransport.h"

#include <exception>
#include <string>
#include <utility>

#include "internal/CurlGlobal.h"
#include "internal/GatewayToken.h"
#include "vrex/CurlTransport.h"

namespace vrex {

std::shared_ptr<Transport> MakeCurlTransport(const ClientOptions& options) {
  return std::make_shared<internal::CurlHttpTransport>(options);
}

namespace internal {

namespace {

constexpr std::string_view kProtobufType = "application/x-protobuf";
constexpr std::string_view kJsonType = "application/json";

// What the write callback needs during one transfer.
struct TransferState {
  CURL* handle;
  const StreamHandler* onChunk;  // null: keep the whole body
  HttpResponse& response;
  long status = -1;            // read once, when the first chunk arrives
  std::exception_ptr failure;  // thrown by onChunk; rethrown after the transfer

  bool StreamsThisBody() {
    if (onChunk == nullptr) {
      return false;
    }
    if (status < 0) {
      curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    }
    return status == 200;
  }

  std::uint64_t ExpectedSize() const {
    curl_off_t length = -1;
    curl_easy_getinfo(handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    return length > 0 ? static_cast<std::uint64_t>(length) : 0;
  }
};

// Returning less than `length` makes libcurl abort the transfer.
std::size_t ReceiveBody(char* data, std::size_t size, std::size_t count, void* context) {
  auto& state = *static_cast<TransferState*>(context);
  const std::size_t length = size * count;
  if (!state.StreamsThisBody()) {
    state.response.body.append(data, length);
    return length;
  }
  try {
    if ((*state.onChunk)(std::string_view(data, length), state.ExpectedSize())) {
      return length;
    }
    state.response.cancelled = true;
  } catch (...) {
    // An exception must not cross libcurl's C frames.
    state.failure = std::current_exception();
  }
  return 0;
}

// The request headers as sent, with the gateway token replaced, so that a
// trace can be shown and kept without leaking it.
std::string MaskToken(std::string_view headers) {
  constexpr std::string_view kName = "GatewayApiAuthentication:";
  std::string masked(headers);
  const std::size_t name = masked.find(kName);
  if (name == std::string::npos) {
    return masked;
  }
  const std::size_t valueStart = name + kName.size();
  const std::size_t lineEnd = masked.find_first_of("\r\n", valueStart);
  masked.replace(valueStart, (lineEnd == std::string::npos ? masked.size() : lineEnd) - valueStart,
                 " ***");
  return masked;
}

// libcurl's debug callback; `context` is the handler of the transport's options.
int TraceWire(CURL*, curl_infotype type, char* data, std::size_t size, void* context) {
  const auto& handler = *static_cast<const WireTraceHandler*>(context);
  const std::string_view text(data, size);
  try {
    switch (type) {
      case CURLINFO_TEXT:
        handler(WireTraceKind::Info, text);
        break;
      case CURLINFO_HEADER_OUT:
        handler(WireTraceKind::RequestHeaders, MaskToken(text));
        break;
      case CURLINFO_HEADER_IN:
        handler(WireTraceKind::ResponseHeader, text);
        break;
      default:  // bodies and TLS records are not traced
        break;
    }
  } catch (...) {
    // An exception must not cross libcurl's C frames; a lost trace line is harmless.
  }
  return 0;
}

void SetText(CURL* handle, CURLoption option, const std::string& value) {
  if (!value.empty()) {
    curl_easy_setopt(handle, option, value.c_str());
  }
}

}  // namespace

CurlHttpTransport::CurlHttpTransport(const ClientOptions& options)
    : options_(options),
      authenticationHeader_("GatewayApiAuthentication: " +
                            options.token.value_or(internal::gatewayAuthenticationToken)),
      protobufHeaders_(BuildHeaders(kProtobufType)),
      jsonHeaders_(BuildHeaders(kJsonType)),
      pool_([this](CURL* handle) { Configure(handle); }) {
  options_.token.reset();
  EnsureCurlGlobalInit();
}

CurlHttpTransport::HeaderList CurlHttpTransport::BuildHeaders(std::string_view contentType) const {
  const std::string contentTypeHeader = "Content-Type: " + std::string(contentType);
  curl_slist* list = nullptr;
  list = curl_slist_append(list, contentTypeHeader.c_str());
  list = curl_slist_append(list, "accept: application/x-protobuf");
  list = curl_slist_append(list, authenticationHeader_.c_str());
  // Without this libcurl waits for "100 Continue" before large bodies.
  list = curl_slist_append(list, "Expect:");
  return HeaderList(list);
}

void CurlHttpTransport::Configure(CURL* handle) const {
  // No signals: time-outs must work on any thread.
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_TCP_KEEPALIVE, 1L);
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS,
                   static_cast<long>(options_.connectTimeout.count()));
  const long verify = options_.tls.verifyPeer ? 1L : 0L;
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, verify);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, verify * 2L);
  SetText(handle, CURLOPT_CAINFO, options_.tls.caFile);
  SetText(handle, CURLOPT_CAPATH, options_.tls.caDirectory);
  SetText(handle, CURLOPT_SSLCERT, options_.tls.clientCertificate);
  SetText(handle, CURLOPT_SSLKEY, options_.tls.clientKey);
  if (options_.proxy) {
    curl_easy_setopt(handle, CURLOPT_PROXY, options_.proxy->c_str());
  }
  SetText(handle, CURLOPT_USERAGENT, options_.userAgent);
  if (options_.acceptEncoding) {
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, options_.acceptEncoding->c_str());
  }
  if (options_.onWireTrace) {
    curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, &TraceWire);
    curl_easy_setopt(handle, CURLOPT_DEBUGDATA, &options_.onWireTrace);
    curl_easy_setopt(handle, CURLOPT_VERBOSE, 1L);
  }
}

HttpResponse CurlHttpTransport::Post(const HttpRequest& request) {
  return Perform(request, nullptr);
}

HttpResponse CurlHttpTransport::PostStreaming(const HttpRequest& request,
                                              const StreamHandler& onChunk) {
  return Perform(request, &onChunk);
}

HttpResponse CurlHttpTransport::Perform(const HttpRequest& request, const StreamHandler* onChunk) {
  HttpResponse response;
  const CurlHandlePool::Lease lease = pool_.Acquire();
  CURL* handle = lease.get();
  if (handle == nullptr) {
    response.transportError = "libcurl could not create a transfer handle";
    return response;
  }
  HeaderList customHeaders;
  curl_slist* headers = protobufHeaders_.get();
  if (request.contentType == kJsonType) {
    headers = jsonHeaders_.get();
  } else if (request.contentType != kProtobufType) {
    customHeaders = BuildHeaders(request.contentType);
    headers = customHeaders.get();
  }

  TransferState state{handle, onChunk, response, -1, nullptr};
  char errorText[CURL_ERROR_SIZE] = {};
  curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.data());
  curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                   static_cast<curl_off_t>(request.body.size()));
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &ReceiveBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &state);
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorText);

  const CURLcode result = curl_easy_perform(handle);

  // The handle outlives this call; it must not point at anything local.
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, nullptr);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, nullptr);
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, nullptr);
  if (state.failure) {
    std::rethrow_exception(state.failure);
  }
  long status = 0;
  curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
  response.status = static_cast<int>(status);
  if (result != CURLE_OK) {
    response.transportError = errorText[0] != '\0' ? errorText : curl_easy_strerror(result);
  }
  return response;
}

}  // namespace internal
}  // namespace vrex
