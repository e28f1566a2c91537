#pragma once
// The libcurl implementation of vrex::Transport.

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>

#include "transport/CurlHandlePool.h"
#include "transport/CurlMultiEngine.h"
#include "transport/CurlSettings.h"
#include "vrex/ClientOptions.h"
#include "vrex/Transport.h"

namespace vrex::internal {

class CurlHttpTransport final : public Transport {
 public:
  explicit CurlHttpTransport(const ClientOptions& options);
  /// Stops the event loop (every exchange under way ends as Cancelled first)
  /// and ends the wire trace: the handler is not called after this returns.
  ~CurlHttpTransport() override;

  HttpResponse Post(const HttpRequest& request) override;
  HttpResponse PostStreaming(const HttpRequest& request, const StreamHandler& onChunk) override;
  /// Runs on an event loop started with the first asynchronous exchange.
  void PostAsync(AsyncExchange exchange) override;
  void WakeUp() override;
  void EndCancelled() override;

 private:
  HttpResponse Perform(const HttpRequest& request, const StreamHandler* onChunk);
  CurlMultiEngine& Engine();
  CurlMultiEngine* RunningEngine() const;

  std::shared_ptr<CurlSettings> settings_;  // shared with the event loop, which may end later
  CurlHandlePool pool_;
  std::size_t maxActive_;  // exchanges of the event loop at once
  std::once_flag engineStarted_;
  std::unique_ptr<CurlMultiEngine> engine_;
  std::atomic<bool> engineRunning_ = false;  // engine_ is set
};

}  // namespace vrex::internal
