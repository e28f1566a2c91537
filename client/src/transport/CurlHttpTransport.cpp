#include "transport/CurlHttpTransport.h"

#include <algorithm>
#include <string>
#include <utility>

#include "transport/CurlGlobal.h"
#include "transport/CurlTransfer.h"
#include "vrex/CurlTransport.h"

namespace vrex {

namespace internal {

namespace {

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

}  // namespace

CurlHttpTransport::CurlHttpTransport(const ClientOptions& options)
    : settings_((EnsureCurlGlobalInit(), std::make_shared<CurlSettings>(options))),
      pool_([settings = settings_](CURL* handle) { settings->Configure(handle); }),
      maxActive_(std::min(options.maxConnectionsPerHost, options.maxRequestsInFlight)) {}

CurlHttpTransport::~CurlHttpTransport() {
  engineRunning_.store(false, std::memory_order_release);
  engine_.reset();
  settings_->EndTrace();
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
  CurlTransfer transfer(handle, request, settings_->HeadersFor(request.contentType), onChunk);
  return transfer.Finish(curl_easy_perform(handle));
}

CurlMultiEngine& CurlHttpTransport::Engine() {
  std::call_once(engineStarted_, [this] {
    CurlMultiEngine::Setup setup;
    // The loop may outlive this transport (see ~CurlMultiEngine): it holds the settings.
    setup.configure = [settings = settings_](CURL* handle) { settings->Configure(handle); };
    setup.headersFor = [settings = settings_](const std::string& contentType) {
      return settings->HeadersFor(contentType);
    };
    setup.maxActive = maxActive_;
    engine_ = std::make_unique<CurlMultiEngine>(std::move(setup));
    engineRunning_.store(true, std::memory_order_release);
  });
  return *engine_;
}

void CurlHttpTransport::PostAsync(AsyncExchange exchange) { Engine().Submit(std::move(exchange)); }

CurlMultiEngine* CurlHttpTransport::RunningEngine() const {
  return engineRunning_.load(std::memory_order_acquire) ? engine_.get() : nullptr;
}

void CurlHttpTransport::WakeUp() {
  if (CurlMultiEngine* engine = RunningEngine()) {
    engine->WakeUp();
  }
}

void CurlHttpTransport::EndCancelled() {
  if (CurlMultiEngine* engine = RunningEngine()) {
    engine->EndCancelled();
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
