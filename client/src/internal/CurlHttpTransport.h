#pragma once
// The libcurl implementation of vrex::Transport.

#include <curl/curl.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "internal/CurlHandlePool.h"
#include "internal/CurlMultiEngine.h"
#include "vrex/ClientOptions.h"
#include "vrex/Transport.h"

namespace vrex::internal {

class CurlHttpTransport final : public Transport {
 public:
  explicit CurlHttpTransport(const ClientOptions& options);

  HttpResponse Post(const HttpRequest& request) override;
  HttpResponse PostStreaming(const HttpRequest& request, const StreamHandler& onChunk) override;
  /// Runs on an event loop started with the first asynchronous exchange.
  void PostAsync(AsyncExchange exchange) override;
  void WakeUp() override;

 private:
  struct HeaderListFree {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  using HeaderList = std::unique_ptr<curl_slist, HeaderListFree>;

  HeaderList BuildHeaders(std::string_view contentType) const;
  /// The headers of a request with `contentType`; kept for the transport's life.
  curl_slist* HeadersFor(const std::string& contentType);
  void Configure(CURL* handle) const;
  HttpResponse Perform(const HttpRequest& request, const StreamHandler* onChunk);
  CurlMultiEngine& Engine();

  /// What libcurl's debug callback needs: where the trace goes, and the
  /// token to mask wherever it shows (a server may echo it back).
  struct TraceTarget {
    const WireTraceHandler* handler;
    std::string_view token;
  };

  ClientOptions options_;  // without the token, which lives in the header lists only
  std::string authenticationHeader_;
  TraceTarget trace_;
  std::mutex headersMutex_;
  std::map<std::string, HeaderList, std::less<>> headers_;  // by content type
  CurlHandlePool pool_;
  std::once_flag engineStarted_;
  std::unique_ptr<CurlMultiEngine> engine_;  // last: stops before the rest goes
  std::atomic<bool> engineRunning_ = false;  // engine_ is set
};

}  // namespace vrex::internal
