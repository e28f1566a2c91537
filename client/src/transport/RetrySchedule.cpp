#include "transport/RetrySchedule.h"

#include <algorithm>
#include <random>

#include "vrex/HttpStatus.h"

namespace vrex::internal {

namespace {

// Each thread draws its own jitter, so concurrent calls need no lock.
std::chrono::milliseconds RandomBetween(std::chrono::milliseconds low,
                                        std::chrono::milliseconds high) {
  thread_local std::mt19937 engine{std::random_device{}()};
  std::uniform_int_distribution<std::chrono::milliseconds::rep> pick(low.count(), high.count());
  return std::chrono::milliseconds(pick(engine));
}

}  // namespace

bool IsTransient(const HttpResponse& response) {
  switch (response.failure) {
    case TransferFailure::None:
      return IsUnavailableStatus(response.status);
    case TransferFailure::AnswerTooLarge:  // would be as large again
    case TransferFailure::ClientFailed:    // this side's failure, not the server's
    case TransferFailure::Cancelled:
      return false;
    default:
      return true;
  }
}

RetrySchedule::RetrySchedule(const RetryPolicy& policy, Clock::time_point start)
    : policy_(policy), start_(start) {}

std::chrono::milliseconds RetrySchedule::BackoffCeiling(int attemptsMade) const {
  // Doubling stops at maxDelay, so the shift never needs more than a few steps.
  const std::chrono::milliseconds zero(0);
  std::chrono::milliseconds ceiling = std::max(policy_.initialDelay, zero);
  for (int i = 1; i < attemptsMade && ceiling < policy_.maxDelay; ++i) {
    ceiling *= 2;
  }
  return std::max(std::min(ceiling, policy_.maxDelay), zero);
}

std::optional<std::chrono::milliseconds> RetrySchedule::NextDelay(int attemptsMade) const {
  if (attemptsMade >= policy_.maxAttempts) {
    return std::nullopt;
  }
  const std::chrono::milliseconds ceiling = BackoffCeiling(attemptsMade);
  const std::chrono::milliseconds delay = RandomBetween(ceiling / 2, ceiling);
  if (Clock::now() + delay - start_ > policy_.maxTotalTime) {
    return std::nullopt;
  }
  return delay;
}

std::optional<std::chrono::milliseconds> RetrySchedule::NextDelay(const HttpResponse& response,
                                                                  int attemptsMade, bool retryable,
                                                                  bool canRepeat) const {
  if (!retryable || !canRepeat || !IsTransient(response)) {
    return std::nullopt;
  }
  return NextDelay(attemptsMade);
}

}  // namespace vrex::internal
