#pragma once
// The event loop of the asynchronous calls: one thread drives libcurl's
// multi interface for every exchange of a transport. Exchanges wait in a
// queue until a connection is free, back-offs are timers of the loop, and a
// cancellation wakes the loop, which ends the call wherever it waits. No
// thread per call, no sleeping thread per retry. A completed exchange with a
// settle waits aside, its slot free, until the settle resumes it.

#include <curl/curl.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "vrex/Transport.h"

namespace vrex::internal {

class CurlMultiEngine {
 public:
  struct Setup {
    /// Sets the options every handle shares, once per handle.
    std::function<void(CURL*)> configure;
    /// The header list for a content type; must outlive the engine.
    std::function<curl_slist*(const std::string& contentType)> headersFor;
    /// Exchanges under way at once, and connections kept; more wait in a
    /// queue, their time-out not yet running.
    std::size_t maxActive = 8;
  };

  explicit CurlMultiEngine(Setup setup);
  /// Ends every exchange not yet done as Cancelled (one settling waits for
  /// its resume and ends as it completed), each onDone called before this
  /// returns, and stops the loop. Run by an onDone on the loop's
  /// own thread, it ends them there and leaves the thread to finish that
  /// onDone and end by itself.
  ~CurlMultiEngine();
  CurlMultiEngine(const CurlMultiEngine&) = delete;
  CurlMultiEngine& operator=(const CurlMultiEngine&) = delete;

  /// Takes `exchange` into the loop; safe from any thread, the loop's own
  /// included (a retry from an onDone).
  void Submit(AsyncExchange exchange);
  /// Makes the loop look at the exchanges' cancellation flags now, those
  /// waiting in the queue or a back-off included.
  void WakeUp();
  /// As WakeUp; on the loop's own thread, ends the cancelled exchanges (their
  /// onDone called) before it returns.
  void EndCancelled();

 private:
  bool OnLoopThread() const;

  class Loop;  // everything the loop thread works on; it keeps it alive

  std::shared_ptr<Loop> loop_;
  std::thread thread_;
};

}  // namespace vrex::internal
