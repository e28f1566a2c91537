#pragma once
// The threads that parse answer slices besides the calling thread, and the
// answers of asynchronous calls, which have no calling thread. A client
// owns one pool, shared by its copies, so a process never has more parsing
// threads than its clients ask for, and none once they are gone. A task is
// an offer of help (see SliceRun): it must not throw, and a pool that got no
// thread from the system drops it.

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vrex::internal {

class ParsePool {
 public:
  /// Starts `threads` threads, or as many as the system grants.
  explicit ParsePool(unsigned threads);
  /// Runs the tasks already posted, then joins the threads.
  ~ParsePool();
  ParsePool(const ParsePool&) = delete;
  ParsePool& operator=(const ParsePool&) = delete;

  /// False, the task dropped, when the pool has no thread.
  bool Post(std::function<void()> task);

 private:
  void Work();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace vrex::internal
