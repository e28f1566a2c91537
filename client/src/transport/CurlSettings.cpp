#include "transport/CurlSettings.h"

#include <utility>

#include "transport/GatewayToken.h"
#include "transport/WireForm.h"
#include "vrex/data/SecretMask.h"

namespace vrex::internal {

namespace {

// No secret passes: neither the token, wherever it shows (a server may echo
// it back), nor credentials in headers or URLs.
void TraceLine(const WireTraceHandler& handler, curl_infotype type, std::string_view text,
               std::string_view token) {
  switch (type) {
    case CURLINFO_TEXT:
      handler(WireTraceKind::Info, data::MaskSecrets(text, token));
      break;
    case CURLINFO_HEADER_OUT:
      handler(WireTraceKind::RequestHeaders, data::MaskSecrets(text, token));
      break;
    case CURLINFO_HEADER_IN:
      handler(WireTraceKind::ResponseHeader, data::MaskSecrets(text, token));
      break;
    default:  // bodies and TLS records are not traced
      break;
  }
}

void SetText(CURL* handle, CURLoption option, const std::string& value) {
  if (!value.empty()) {
    curl_easy_setopt(handle, option, value.c_str());
  }
}

}  // namespace

CurlSettings::CurlSettings(const ClientOptions& options)
    : options_(options),
      authenticationHeader_(
          wire::AuthenticationLine(options.token.value_or(internal::gatewayAuthenticationToken))),
      tracing_(static_cast<bool>(options.onWireTrace)) {
  options_.token.reset();
}

// libcurl's debug callback; `self` is the settings of the handle.
int CurlSettings::Trace(CURL*, curl_infotype type, char* data, std::size_t size, void* self) {
  auto& settings = *static_cast<CurlSettings*>(self);
  try {
    const std::shared_lock<std::shared_mutex> lock(settings.traceMutex_);
    if (settings.tracing_) {
      TraceLine(settings.options_.onWireTrace, type, std::string_view(data, size),
                settings.Token());
    }
  } catch (...) {
    // An exception must not cross libcurl's C frames; a lost trace line is harmless.
  }
  return 0;
}

std::string_view CurlSettings::Token() const {
  return std::string_view(authenticationHeader_).substr(wire::kAuthenticationName.size());
}

void CurlSettings::EndTrace() {
  const std::unique_lock<std::shared_mutex> lock(traceMutex_);
  tracing_ = false;
}

CurlSettings::HeaderList CurlSettings::BuildHeaders(std::string_view contentType) const {
  const std::string contentTypeHeader = wire::ContentTypeLine(contentType);
  curl_slist* list = nullptr;
  list = curl_slist_append(list, contentTypeHeader.c_str());
  list = curl_slist_append(list, wire::kAcceptLine);
  list = curl_slist_append(list, authenticationHeader_.c_str());
  // Without this libcurl waits for "100 Continue" before large bodies.
  list = curl_slist_append(list, "Expect:");
  return HeaderList(list);
}

curl_slist* CurlSettings::HeadersFor(const std::string& contentType) {
  const std::lock_guard<std::mutex> lock(headersMutex_);
  auto found = headers_.find(contentType);
  if (found == headers_.end()) {
    found = headers_.emplace(contentType, BuildHeaders(contentType)).first;
  }
  return found->second.get();
}

void CurlSettings::Configure(CURL* handle) {
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
    curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, &Trace);
    curl_easy_setopt(handle, CURLOPT_DEBUGDATA, this);
    curl_easy_setopt(handle, CURLOPT_VERBOSE, 1L);
  }
}

}  // namespace vrex::internal
