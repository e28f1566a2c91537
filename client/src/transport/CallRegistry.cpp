#include "transport/CallRegistry.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vrex::internal {

namespace {

// The registries whose calls have a callback running on this thread, the
// innermost last (a callback may end other calls, whose callbacks then run
// inside it).
thread_local std::vector<const CallRegistry*> callbacksHere;

}  // namespace

void CallRegistry::Add(const std::shared_ptr<std::atomic<bool>>& cancelled) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++underWay_;
  // Ended calls leave expired entries; dropping them whenever the list has
  // doubled keeps it as long as the calls under way, give or take.
  if (flags_.size() == flags_.capacity()) {
    flags_.erase(std::remove_if(flags_.begin(), flags_.end(),
                                [](const auto& flag) { return flag.expired(); }),
                 flags_.end());
  }
  flags_.push_back(cancelled);
}

void CallRegistry::CancelAll() {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& weak : flags_) {
    if (const auto flag = weak.lock()) {
      *flag = true;
    }
  }
}

void CallRegistry::WaitForAll() {
  const auto runningHere =
      static_cast<std::size_t>(std::count(callbacksHere.begin(), callbacksHere.end(), this));
  std::unique_lock<std::mutex> lock(mutex_);
  ended_.wait(lock, [&] { return underWay_ <= runningHere; });
}

CallRegistry::Ending::Ending(CallRegistry& registry) : registry_(registry) {
  callbacksHere.push_back(&registry);
}

CallRegistry::Ending::~Ending() {
  const auto innermost = std::find(callbacksHere.rbegin(), callbacksHere.rend(), &registry_);
  callbacksHere.erase(std::next(innermost).base());
  const std::lock_guard<std::mutex> lock(registry_.mutex_);
  --registry_.underWay_;
  registry_.ended_.notify_all();
}

ClientCalls::ClientCalls(std::shared_ptr<Transport> transport)
    : transport_(std::move(transport)), registry_(std::make_shared<CallRegistry>()) {}

ClientCalls::~ClientCalls() {
  registry_->CancelAll();
  transport_->EndCancelled();
  registry_->WaitForAll();
}

}  // namespace vrex::internal
