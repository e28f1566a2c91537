#include "transport/AsyncAttempts.h"

#include <utility>

namespace vrex::internal {

AsyncAttempts::AsyncAttempts(HttpRequest request, AnswerReceiver receiver, RetrySchedule schedule,
                             bool retryable, std::shared_ptr<Transport> transport, Finish finish)
    : request_(std::move(request)),
      receiver_(std::move(receiver)),
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
  if (attempts_ > 0 && receiver_.restart) {
    receiver_.restart();
  }
  if (receiver_.onChunk) {
    exchange.onChunk = [self = shared_from_this()](std::string_view chunk, std::uint64_t expected) {
      self->delivered_ += chunk.size();
      return self->receiver_.onChunk(chunk, expected);
    };
  }
  exchange.settle = receiver_.settle;
  exchange.onDone = [self = shared_from_this()](HttpResponse response) {
    self->OnResponse(response);
  };
  try {
    transport->PostAsync(std::move(exchange));
  } catch (...) {  // not taken by the transport: the call must still end, once
    HttpResponse response;
    response.failure = TransferFailure::ClientFailed;
    response.transportError = "the transport could not take the call";
    finish_(response, attempts_);
  }
}

void AsyncAttempts::OnResponse(const HttpResponse& response) {
  ++attempts_;
  const auto delay = schedule_.NextDelay(response, attempts_, retryable_ && !*cancelled_,
                                         delivered_ == 0 || receiver_.restart);
  if (delay) {
    Post(*delay);
  } else {
    finish_(response, attempts_);
  }
}

}  // namespace vrex::internal
