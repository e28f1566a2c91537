#include "transport/CurlHandlePool.h"

#include <utility>

namespace vrex::internal {

CurlHandlePool::CurlHandlePool(std::function<void(CURL*)> configure)
    : configure_(std::move(configure)) {}

CurlHandlePool::Lease CurlHandlePool::Acquire() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!idle_.empty()) {
      Handle handle = std::move(idle_.back());
      idle_.pop_back();
      return Lease(*this, std::move(handle));
    }
  }
  Handle handle(curl_easy_init());
  if (handle) {
    configure_(handle.get());
  }
  return Lease(*this, std::move(handle));
}

void CurlHandlePool::GiveBack(Handle handle) {
  if (!handle) {
    return;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  idle_.push_back(std::move(handle));
}

}  // namespace vrex::internal
