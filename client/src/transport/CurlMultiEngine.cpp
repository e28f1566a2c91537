#include "transport/CurlMultiEngine.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "transport/CurlTransfer.h"

namespace vrex::internal {

namespace {

using Clock = std::chrono::steady_clock;

// Longest sleep of the loop with nothing to do; it wakes earlier for work.
constexpr std::chrono::milliseconds kIdleWait{1000};

HttpResponse Failed(TransferFailure failure, std::string why) {
  HttpResponse response;
  response.failure = failure;
  response.transportError = std::move(why);
  return response;
}

bool IsCancelled(const AsyncExchange& exchange) {
  return exchange.cancelled && exchange.cancelled->load();
}

// A handler's failure must not end the loop, which serves every call.
void Complete(AsyncExchange& exchange, HttpResponse response) {
  try {
    exchange.onDone(std::move(response));
  } catch (...) {
  }
}

}  // namespace

class CurlMultiEngine::Loop : public std::enable_shared_from_this<Loop> {
 public:
  explicit Loop(Setup setup) : setup_(std::move(setup)), multi_(curl_multi_init()) {
    const long limit = static_cast<long>(std::max<std::size_t>(setup_.maxActive, 1));
    curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, limit);
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, limit);
  }

  ~Loop() {
    for (CURL* handle : idleHandles_) {
      curl_easy_cleanup(handle);
    }
    curl_multi_cleanup(multi_);
  }

  bool Usable() const { return multi_ != nullptr; }

  void Submit(AsyncExchange exchange) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!stopping_) {
        submitted_.push_back(std::move(exchange));
        exchange.onDone = nullptr;
      }
    }
    if (exchange.onDone) {  // the loop is gone or going: it will not see this one
      Complete(exchange, Failed(TransferFailure::Cancelled, "the client is shutting down"));
      return;
    }
    WakeUp(false);
  }

  /// `lookAtQueues`: a call may have been cancelled while it waits in a
  /// queue or a back-off, not only while its transfer runs.
  void WakeUp(bool lookAtQueues = true) {
    if (lookAtQueues) {
      queuesCancelled_.store(true, std::memory_order_release);
    }
    curl_multi_wakeup(multi_);
  }

  void Stop() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    WakeUp(false);
  }

  // On the loop's thread only (from an onDone): the cancelled exchanges end
  // now, wherever they wait.
  void EndCancelledHere() {
    TakeSubmitted();
    queuesCancelled_.store(true, std::memory_order_relaxed);
    EndCancelledOnes();
    CompleteSettled(true);
  }

  // On the loop's thread only, once stopping: ends every exchange left.
  void EndAll() {
    CompleteSettled(true);
    EndAllWith("the client was destroyed while the call was under way");
  }

  void Run() {
    while (!Stopping()) {
      TakeSubmitted();
      CompleteSettled(false);
      EndCancelledOnes();
      StartWaiting();
      int running = 0;
      curl_multi_perform(multi_, &running);
      CollectDone();
      curl_multi_poll(multi_, nullptr, 0, static_cast<int>(NextWait().count()), nullptr);
    }
    EndAll();
  }

 private:
  struct Active {
    AsyncExchange exchange;
    std::unique_ptr<CurlTransfer> transfer;  // refers to exchange.request and onChunk
  };

  // A completed exchange whose settle has not resumed it yet.
  struct Settling {
    AsyncExchange exchange;
    HttpResponse response;
  };

  bool Stopping() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return stopping_;
  }

  // Moves what was submitted into the loop's own queues, and what is due
  // from the back-offs into the queue of exchanges to start.
  void TakeSubmitted() {
    std::deque<AsyncExchange> taken;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      taken.swap(submitted_);
    }
    const Clock::time_point now = Clock::now();
    for (AsyncExchange& exchange : taken) {
      if (exchange.delay.count() > 0) {
        delayed_.emplace(now + exchange.delay, std::move(exchange));
      } else {
        waiting_.push_back(std::move(exchange));
      }
    }
    const auto due = delayed_.upper_bound(now);
    for (auto it = delayed_.begin(); it != due; ++it) {
      waiting_.push_back(std::move(it->second));
    }
    delayed_.erase(delayed_.begin(), due);
  }

  void StartWaiting() {
    while (!waiting_.empty() && active_.size() < setup_.maxActive) {
      AsyncExchange exchange = std::move(waiting_.front());
      waiting_.pop_front();
      if (IsCancelled(exchange)) {
        Complete(exchange, Failed(TransferFailure::Cancelled, ""));
      } else {
        Start(std::move(exchange));
      }
    }
  }

  void Start(AsyncExchange exchange) {
    CURL* handle = IdleHandle();
    if (handle == nullptr) {
      Complete(exchange,
               Failed(TransferFailure::ClientFailed, "libcurl could not create a transfer handle"));
      return;
    }
    auto active = std::make_unique<Active>();
    active->exchange = std::move(exchange);
    const AsyncExchange& started = active->exchange;
    active->transfer = std::make_unique<CurlTransfer>(
        handle, started.request, setup_.headersFor(started.request.contentType),
        started.onChunk ? &started.onChunk : nullptr);
    if (curl_multi_add_handle(multi_, handle) != CURLM_OK) {
      active->transfer.reset();
      Release(handle);
      Complete(active->exchange,
               Failed(TransferFailure::ClientFailed, "libcurl could not start the transfer"));
      return;
    }
    active_.emplace(handle, std::move(active));
  }

  // Ends the transfer of `handle` with `response`, or with what libcurl made
  // of it when `response` is empty.
  // A handle ended already (by an onDone that ended the rest) is left alone.
  void End(CURL* handle, const HttpResponse* response, CURLcode result = CURLE_OK) {
    const auto found = active_.find(handle);
    if (found == active_.end()) {
      return;
    }
    std::unique_ptr<Active> active = std::move(found->second);
    active_.erase(found);
    curl_multi_remove_handle(multi_, handle);
    HttpResponse ended = response != nullptr ? *response : active->transfer->Finish(result);
    active->transfer.reset();
    Release(handle);
    if (response == nullptr && active->exchange.settle && !ended.TransportFailed()) {
      Settle(std::move(active->exchange), std::move(ended));
    } else {
      Complete(active->exchange, std::move(ended));
    }
  }

  // The exchange waits out of the loop's way, cancellation included, until
  // its settle resumes it: its work (parsing) ends by itself and needs no
  // more of this thread.
  void Settle(AsyncExchange exchange, HttpResponse response) {
    const std::uint64_t id = nextSettling_++;
    Settling& settling =
        settling_.emplace(id, Settling{std::move(exchange), std::move(response)}).first->second;
    try {
      settling.exchange.settle(settling.response,
                               [loop = shared_from_this(), id] { loop->Resume(id); });
    } catch (...) {
      Resume(id);  // taken as done; a second Resume of the same id changes nothing
    }
  }

  // Any thread.
  void Resume(std::uint64_t id) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      resumed_.insert(id);
    }
    resumedAny_.notify_all();
    WakeUp(false);
  }

  // Completes the exchanges resumed so far; with `all`, first waits until
  // every exchange still settling is resumed. An onDone may end others
  // (the last client let go), which runs this again inside it: each
  // exchange leaves both lists at once, so none is waited for twice.
  void CompleteSettled(bool all) {
    for (;;) {
      std::unique_lock<std::mutex> lock(mutex_);
      if (all) {
        resumedAny_.wait(lock, [this] {
          return std::all_of(settling_.begin(), settling_.end(),
                             [this](const auto& entry) { return resumed_.count(entry.first) > 0; });
        });
      }
      if (resumed_.empty()) {
        return;
      }
      const std::uint64_t id = *resumed_.begin();
      resumed_.erase(resumed_.begin());
      const auto found = settling_.find(id);
      if (found == settling_.end()) {
        continue;  // resumed twice
      }
      Settling settled = std::move(found->second);
      settling_.erase(found);
      lock.unlock();
      Complete(settled.exchange, std::move(settled.response));
    }
  }

  // The running transfers are looked at on every turn (there are few); the
  // queues only when a cancellation woke the loop. Each exchange is taken out
  // before its onDone runs, which may end others or submit new ones.
  void EndCancelledOnes() {
    std::vector<CURL*> cancelled;
    for (const auto& [handle, active] : active_) {
      if (IsCancelled(active->exchange)) {
        cancelled.push_back(handle);
      }
    }
    const HttpResponse response = Failed(TransferFailure::Cancelled, "");
    for (CURL* handle : cancelled) {
      End(handle, &response);
    }
    if (!queuesCancelled_.exchange(false, std::memory_order_acquire)) {
      return;
    }
    std::vector<AsyncExchange> ended = TakeCancelled(waiting_);
    for (auto it = delayed_.begin(); it != delayed_.end();) {
      if (IsCancelled(it->second)) {
        ended.push_back(std::move(it->second));
        it = delayed_.erase(it);
      } else {
        ++it;
      }
    }
    for (AsyncExchange& exchange : ended) {
      Complete(exchange, response);
    }
  }

  static std::vector<AsyncExchange> TakeCancelled(std::deque<AsyncExchange>& queue) {
    std::vector<AsyncExchange> cancelled;
    const auto kept = std::stable_partition(
        queue.begin(), queue.end(), [](const auto& exchange) { return !IsCancelled(exchange); });
    std::move(kept, queue.end(), std::back_inserter(cancelled));
    queue.erase(kept, queue.end());
    return cancelled;
  }

  void CollectDone() {
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
      if (message->msg == CURLMSG_DONE) {
        End(message->easy_handle, nullptr, message->data.result);
      }
    }
  }

  std::chrono::milliseconds NextWait() const {
    std::chrono::milliseconds wait = kIdleWait;
    if (!waiting_.empty() && active_.size() < setup_.maxActive) {
      return std::chrono::milliseconds(0);
    }
    if (!delayed_.empty()) {
      const auto untilDue =
          std::chrono::ceil<std::chrono::milliseconds>(delayed_.begin()->first - Clock::now());
      wait = std::clamp(untilDue, std::chrono::milliseconds(0), wait);
    }
    return wait;
  }

  void EndAllWith(const std::string& why) {
    const HttpResponse response = Failed(TransferFailure::Cancelled, why);
    while (!active_.empty()) {
      End(active_.begin()->first, &response);
    }
    std::deque<AsyncExchange> rest;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      rest.swap(submitted_);
    }
    for (auto& [due, exchange] : delayed_) {
      rest.push_back(std::move(exchange));
    }
    delayed_.clear();
    for (AsyncExchange& exchange : waiting_) {
      rest.push_back(std::move(exchange));
    }
    waiting_.clear();
    for (AsyncExchange& exchange : rest) {
      Complete(exchange, response);
    }
  }

  CURL* IdleHandle() {
    if (!idleHandles_.empty()) {
      CURL* handle = idleHandles_.back();
      idleHandles_.pop_back();
      return handle;
    }
    CURL* handle = curl_easy_init();
    if (handle != nullptr) {
      setup_.configure(handle);
    }
    return handle;
  }

  void Release(CURL* handle) { idleHandles_.push_back(handle); }

  Setup setup_;
  CURLM* multi_;

  std::mutex mutex_;
  std::deque<AsyncExchange> submitted_;  // guarded by mutex_
  bool stopping_ = false;                // guarded by mutex_
  std::atomic<bool> queuesCancelled_ = false;
  std::set<std::uint64_t> resumed_;  // guarded by mutex_; ids of settling_
  std::condition_variable resumedAny_;

  // The loop thread's own.
  std::multimap<Clock::time_point, AsyncExchange> delayed_;
  std::deque<AsyncExchange> waiting_;
  std::unordered_map<CURL*, std::unique_ptr<Active>> active_;
  std::map<std::uint64_t, Settling> settling_;  // read under mutex_ by CompleteSettled's wait
  std::uint64_t nextSettling_ = 0;
  std::vector<CURL*> idleHandles_;
};

CurlMultiEngine::CurlMultiEngine(Setup setup) : loop_(std::make_shared<Loop>(std::move(setup))) {
  if (loop_->Usable()) {
    thread_ = std::thread([loop = loop_] { loop->Run(); });
  } else {
    loop_->Stop();  // every Submit then ends at once
  }
}

CurlMultiEngine::~CurlMultiEngine() {
  loop_->Stop();
  if (!thread_.joinable()) {
    return;
  }
  if (!OnLoopThread()) {
    thread_.join();
    return;
  }
  // Destroyed by an onDone on the loop's own thread: every exchange ends
  // here, before this returns; what the thread still does after that onDone
  // touches only the loop, which it keeps alive, and no caller's code.
  loop_->EndAll();
  thread_.detach();
}

bool CurlMultiEngine::OnLoopThread() const {
  return thread_.get_id() == std::this_thread::get_id();
}

void CurlMultiEngine::Submit(AsyncExchange exchange) { loop_->Submit(std::move(exchange)); }

void CurlMultiEngine::WakeUp() { loop_->WakeUp(); }

void CurlMultiEngine::EndCancelled() {
  if (OnLoopThread()) {
    loop_->EndCancelledHere();
  } else {
    loop_->WakeUp();
  }
}

}  // namespace vrex::internal
