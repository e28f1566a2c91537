#pragma once
// One raw exchange with a server on 127.0.0.1: connect, send bytes as they
// are, close the sending side and read until the server closes.

#include <chrono>
#include <string>
#include <string_view>

namespace vrex::fuzz {

struct RawReply {
  std::string bytes;      ///< everything the server wrote
  bool complete = false;  ///< the server closed normally (no reset, no time-out)
};

/// Throws std::runtime_error when no connection can be made. Sending stops
/// early when the server closes first (it may refuse a request before its
/// end); `timeout` bounds each wait for the socket.
RawReply ExchangeRaw(int port, std::string_view request, std::chrono::milliseconds timeout);

}  // namespace vrex::fuzz
