#pragma once
// Turns a canned answer into the HTTP library's response. Every way the stub
// shapes what goes on the wire passes through here.

#include <httplib.h>

#include <chrono>
#include <functional>

#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub {

/// What an answer needs from the server around it.
struct ConnectionControl {
  /// Waits the given time, or less when the server stops meanwhile.
  std::function<void(std::chrono::milliseconds)> pause;
  /// Closes the connection of the request being handled, so that nothing
  /// more goes out on it.
  std::function<void()> close;
};

/// Fills `response` as `answer.delivery` says. Silences that come before the
/// answer are waited out here; those within the body are waited out while the
/// HTTP library sends it, so `control` must outlive the exchange.
void WriteAnswer(const CannedAnswer& answer, httplib::Response& response,
                 const ConnectionControl& control);

}  // namespace vrex::stub
