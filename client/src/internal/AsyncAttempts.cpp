#include "internal/AsyncAttempts.h"

#include <algorithm>
#include <utility>

namespace vrex::internal {

AsyncAttempts::AsyncAttempts(HttpRequest request, StreamHandler onChunk, RetrySchedule schedule,
                             bool retryable, std::shared_ptr<Transport> transport, Finish finish)
    : request_(std::move(request)),
      onChunk_(std::move(onChunk)),
      schedule_(std::move(schedule)),
      retryable_(retryable),
      transport_(transport),
      finish_(std::move(finish)),
      cancelled_(std::make_shared<std::atomic<bool>>(false)) {}

void AsyncAttempts::Begin() { Post(std::chrono::milliseconds(0)); }

void AsyncAttempts::Post(std::chrono::milliseconds delay) {
  const std::shared_ptr<Transport> transport = transport_.lock();
  if (!transport) {
    HttpResponse response;
    response.failure = TransferFailure::Cancelled;
    response.transportError = "the client was destroyed while the call was under way";
    finish_(response, attempts_);
    return;
  }
  AsyncExchange exchange;
  exchange.request = request_;
  exchange.delay = delay;
  exchange.cancelled = cancelled_;
  if (onChunk_) {
    exchange.onChunk = [self = shared_from_this()](std::string_view chunk, std::uint64_t expected) {
      self->delivered_ += chunk.size();
      return self->onChunk_(chunk, expected);
    };
  }
  exchange.onDone = [self = shared_from_this()](HttpResponse response) {
    self->OnResponse(response);
  };
  transport->PostAsync(std::move(exchange));
}

void AsyncAttempts::OnResponse(const HttpResponse& response) {
  ++attempts_;
  const auto delay = schedule_.NextDelay(response, attempts_, retryable_ && !*cancelled_,
                                         delivered_ == 0);
  if (delay) {
    Post(*delay);
  } else {
    finish_(response, attempts_);
  }
}

void CallRegistry::Add(const std::shared_ptr<std::atomic<bool>>& cancelled) {
  const std::lock_guard<std::mutex> lock(mutex_);
  // Finished calls leave expired entries; dropping them whenever the list has
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

}  // namespace vrex::internal
