#pragma once
// When to try a call again: exponential back-off with jitter, bounded in
// attempts and in time.

#include <chrono>
#include <optional>

#include "vrex/ClientOptions.h"
#include "vrex/Transport.h"

namespace vrex::internal {

/// True for the answers worth another attempt: the gateway statuses 502, 503
/// and 504, and every transfer failure that may go away by itself (no
/// connection, no answer in time, an answer cut short or malformed, which
/// restarting servers and proxies produce). Not an answer over the size
/// limit (it would be as large again), nor a failure on the client's side or
/// a cancellation.
bool IsTransient(const HttpResponse& response);

class RetrySchedule {
 public:
  using Clock = std::chrono::steady_clock;

  RetrySchedule(const RetryPolicy& policy, Clock::time_point start);

  /// The wait before the next attempt after `attemptsMade` attempts, or
  /// nothing when the policy's attempts or time are used up.
  std::optional<std::chrono::milliseconds> NextDelay(int attemptsMade) const;

  /// The wait before another attempt of a call whose last attempt gave
  /// `response`, or nothing when that response ends the call: it is not
  /// transient, the call may not be repeated (`retryable`, `canRepeat`) or the
  /// policy is used up.
  std::optional<std::chrono::milliseconds> NextDelay(const HttpResponse& response,
                                                     int attemptsMade, bool retryable,
                                                     bool canRepeat = true) const;

 private:
  std::chrono::milliseconds BackoffCeiling(int attemptsMade) const;

  RetryPolicy policy_;
  Clock::time_point start_;
};

}  // namespace vrex::internal
