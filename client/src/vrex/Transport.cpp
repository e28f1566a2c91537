#include "vrex/Transport.h"

#include <future>
#include <thread>
#include <utility>

namespace vrex {

void Transport::PostAsync(AsyncExchange exchange) {
  std::this_thread::sleep_for(exchange.delay);
  HttpResponse response;
  if (exchange.cancelled && *exchange.cancelled) {
    response.failure = TransferFailure::Cancelled;
  } else if (exchange.onChunk) {
    response = PostStreaming(exchange.request, exchange.onChunk);
  } else {
    response = Post(exchange.request);
  }
  if (exchange.settle && !response.TransportFailed()) {
    std::promise<void> settled;
    exchange.settle(response, [&settled] { settled.set_value(); });
    settled.get_future().wait();
  }
  exchange.onDone(std::move(response));
}

}  // namespace vrex
