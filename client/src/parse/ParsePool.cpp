#include "parse/ParsePool.h"

#include <system_error>
#include <utility>

namespace vrex::internal {

ParsePool::ParsePool(unsigned threads) {
  for (unsigned index = 0; index < threads; ++index) {
    try {
      threads_.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
      break;  // the calling threads parse what these would have
    }
  }
}

ParsePool::~ParsePool() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

bool ParsePool::Post(std::function<void()> task) {
  if (threads_.empty()) {
    return false;
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
  return true;
}

void ParsePool::Work() {
  for (;;) {
    std::function<void()> task;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
      if (tasks_.empty()) {
        return;
      }
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }
}

}  // namespace vrex::internal
