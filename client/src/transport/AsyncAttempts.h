#pragma once
// The attempts of one asynchronous call: each attempt is an exchange on the
// transport's event loop; after a transient failure the next one is posted
// with its back-off as the loop's timer, so no thread waits. The last
// response ends the call.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "transport/RetrySchedule.h"
#include "vrex/ClientOptions.h"
#include "vrex/Transport.h"

namespace vrex::internal {

/// Where the body of an asynchronous call's 200 answer goes.
struct AnswerReceiver {
  /// Receives the body; empty: the body is kept in the response. Once it
  /// received bytes the call is not repeated, so nothing reaches it twice,
  /// unless `restart` is set.
  StreamHandler onChunk;
  /// Called before every attempt but the first: what onChunk received
  /// is forgotten, so the call may be repeated whatever arrived.
  std::function<void()> restart;
  /// As AsyncExchange::settle, for every attempt.
  std::function<void(const HttpResponse&, std::function<void()>)> settle;
};

class AsyncAttempts : public std::enable_shared_from_this<AsyncAttempts> {
 public:
  /// Receives the last response and the number of attempts made.
  using Finish = std::function<void(const HttpResponse& response, int attempts)>;

  AsyncAttempts(HttpRequest request, AnswerReceiver receiver, RetrySchedule schedule,
                bool retryable, std::shared_ptr<Transport> transport, Finish finish);

  /// Posts the first attempt.
  void Begin();
  const std::shared_ptr<std::atomic<bool>>& Cancelled() const { return cancelled_; }

 private:
  void Post(std::chrono::milliseconds delay);
  void OnResponse(const HttpResponse& response);

  HttpRequest request_;
  AnswerReceiver receiver_;
  std::uint64_t delivered_ = 0;  // bytes handed to onChunk_
  RetrySchedule schedule_;
  bool retryable_;
  std::weak_ptr<Transport> transport_;  // the call does not keep the client alive
  Finish finish_;
  int attempts_ = 0;
  std::shared_ptr<std::atomic<bool>> cancelled_;
};

}  // namespace vrex::internal
