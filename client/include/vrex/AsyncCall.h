#pragma once
// A call of vrex::Client under way: its result arrives later; it can be
// waited for from any thread, and cancelled.

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <utility>

#include "vrex/Export.h"

namespace vrex {

class Transport;

/// Cancels one call under way. Copies cancel the same call.
class VREX_EXPORT CallCanceller {
 public:
  CallCanceller() = default;
  CallCanceller(std::weak_ptr<std::atomic<bool>> cancelled, std::weak_ptr<Transport> transport)
      : cancelled_(std::move(cancelled)), transport_(std::move(transport)) {}

  /// Ends the call with Outcome::Event::Cancelled, unless it ended already,
  /// wherever it waits: running, queued or in a retry's back-off. Returns at
  /// once; the result arrives within milliseconds.
  void Cancel() const;

 private:
  std::weak_ptr<std::atomic<bool>> cancelled_;  // gone once the call ended
  std::weak_ptr<Transport> transport_;
};

/// The result of an asynchronous call, `R` being what the synchronous form
/// returns (Result<Answer, Outcome>, or Outcome). Every call ends with a
/// result: a cancelled call, or one whose client was destroyed under way,
/// with Outcome::Event::Cancelled.
template <class R>
class AsyncCall {
 public:
  AsyncCall(std::future<R> result, CallCanceller canceller)
      : result_(std::move(result)), canceller_(std::move(canceller)) {}

  /// Waits for the result and hands it over; once only.
  R Get() { return result_.get(); }
  void Wait() const { result_.wait(); }
  /// True when the result is in.
  template <class Rep, class Period>
  bool WaitFor(std::chrono::duration<Rep, Period> timeout) const {
    return result_.wait_for(timeout) == std::future_status::ready;
  }
  bool IsReady() const { return WaitFor(std::chrono::seconds(0)); }
  void Cancel() const { canceller_.Cancel(); }
  const CallCanceller& Canceller() const { return canceller_; }
  /// The future itself, for code built on std::future.
  std::future<R> TakeFuture() { return std::move(result_); }

 private:
  std::future<R> result_;
  CallCanceller canceller_;
};

}  // namespace vrex
