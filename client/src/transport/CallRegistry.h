#pragma once
// The asynchronous calls of a client and its copies: cancelled together on
// request, and ended together when the last copy of the client goes, which
// returns only once the callback of every call has run.

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "vrex/Transport.h"

namespace vrex::internal {

/// Shared by the copies of a client and by its calls under way.
class CallRegistry {
 public:
  /// A call under way until the Ending of its callback goes.
  void Add(const std::shared_ptr<std::atomic<bool>>& cancelled);
  void CancelAll();
  /// Waits until every call ended, but for those whose callback runs on this
  /// thread (the last copy let go inside one).
  void WaitForAll();

  /// Lives while the callback of a call runs; its end ends the call.
  class Ending {
   public:
    explicit Ending(CallRegistry& registry);
    ~Ending();
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

   private:
    CallRegistry& registry_;
  };

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  std::size_t underWay_ = 0;
  std::vector<std::weak_ptr<std::atomic<bool>>> flags_;
};

/// Held by a client and its copies only: when the last goes, it cancels
/// their calls, has the transport end them and waits for their callbacks.
class ClientCalls {
 public:
  explicit ClientCalls(std::shared_ptr<Transport> transport);
  ~ClientCalls();
  ClientCalls(const ClientCalls&) = delete;
  ClientCalls& operator=(const ClientCalls&) = delete;

  const std::shared_ptr<CallRegistry>& Registry() const { return registry_; }

 private:
  std::shared_ptr<Transport> transport_;
  std::shared_ptr<CallRegistry> registry_;
};

}  // namespace vrex::internal
