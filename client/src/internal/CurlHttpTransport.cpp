#include "internal/CurlHttpTransport.h"

#include <string>
#include <utility>

#include "internal/CurlGlobal.h"
#include "internal/CurlTransfer.h"
#include "internal/GatewayToken.h"
#include "vrex/CurlTransport.h"
#include "vrex/data/SecretMask.h"

namespace vrex {

namespace internal {

namespace {

constexpr std::string_view kAuthenticationName = "GatewayApiAuthentication: ";

// Stands for a transport when the options break a rule: every exchange
// fails on this side, before anything is sent.
class RefusingTransport final : public Transport {
 public:
  explicit RefusingTransport(std::string problem) : problem_(std::move(problem)) {}
  HttpResponse Post(const HttpRequest&) override {
    HttpResponse response;
    response.failure = TransferFailure::ClientFailed;
    response.transportError = problem_;
    return response;
  }
  HttpResponse PostStreaming(const HttpRequest& request, const StreamHandler&) override {
    return Post(request);
  }

 private:
  std::string problem_;
};

// libcurl's debug callback; `context` is the transport's TraceTarget. No
// secret passes: neither the token, wherever it shows, nor credentials in
// headers or URLs.
template <class Target>
int TraceWire(CURL*, curl_infotype type, char* data, std::size_t size, void* context) {
  const auto& target = *static_cast<const Target*>(context);
  const auto masked = [&] { return data::MaskSecrets({data, size}, target.token); };
  try {
    switch (type) {
      case CURLINFO_TEXT:
        (*target.handler)(WireTraceKind::Info, masked());
        break;
      case CURLINFO_HEADER_OUT:
        (*target.handler)(WireTraceKind::RequestHeaders, masked());
        break;
      case CURLINFO_HEADER_IN:
        (*target.handler)(WireTraceKind::ResponseHeader, masked());
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
      authenticationHeader_(std::string(kAuthenticationName) +
                            options.token.value_or(internal::gatewayAuthenticationToken)),
      trace_{&options_.onWireTrace,
             std::string_view(authenticationHeader_).substr(kAuthenticationName.size())},
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
    curl_easy_setopt(handle, CURLOPT_DEBUGFUNCTION, &TraceWire<TraceTarget>);
    curl_easy_setopt(handle, CURLOPT_DEBUGDATA, &trace_);
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
  const CurlHandlePool::Lease lease = pool_.Acquire();
  CURL* handle = lease.get();
  if (handle == nullptr) {
    HttpResponse response;
    response.failure = TransferFailure::ClientFailed;
    response.transportError = "libcurl could not create a transfer handle";
    return response;
  }
  CurlTransfer transfer(handle, request, HeadersFor(request.contentType), onChunk);
  return transfer.Finish(curl_easy_perform(handle));
}

curl_slist* CurlHttpTransport::HeadersFor(const std::string& contentType) {
  const std::lock_guard<std::mutex> lock(headersMutex_);
  auto found = headers_.find(contentType);
  if (found == headers_.end()) {
    found = headers_.emplace(contentType, BuildHeaders(contentType)).first;
  }
  return found->second.get();
}

CurlMultiEngine& CurlHttpTransport::Engine() {
  std::call_once(engineStarted_, [this] {
    CurlMultiEngine::Setup setup;
    setup.configure = [this](CURL* handle) { Configure(handle); };
    setup.headersFor = [this](const std::string& contentType) { return HeadersFor(contentType); };
    setup.maxActive = std::min(options_.maxConnectionsPerHost, options_.maxRequestsInFlight);
    engine_ = std::make_unique<CurlMultiEngine>(std::move(setup));
    engineRunning_.store(true, std::memory_order_release);
  });
  return *engine_;
}

void CurlHttpTransport::PostAsync(AsyncExchange exchange) { Engine().Submit(std::move(exchange)); }

void CurlHttpTransport::WakeUp() {
  if (engineRunning_.load(std::memory_order_acquire)) {
    engine_->WakeUp();
  }
}

}  // namespace internal

std::shared_ptr<Transport> MakeCurlTransport(const ClientOptions& options) {
  if (std::string problem = ClientOptionsProblem(options); !problem.empty()) {
    return std::make_shared<internal::RefusingTransport>(std::move(problem));
  }
  return std::make_shared<internal::CurlHttpTransport>(options);
}

}  // namespace vrex
