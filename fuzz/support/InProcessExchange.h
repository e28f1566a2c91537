#pragma once
// One raw exchange with a running stub server without TCP: the request goes
// into one end of a socket pair, the server serves the other end on the
// calling thread (no accept, no hand-off to its worker threads), and the
// reply is whatever it wrote until it closed.

#include <string>
#include <string_view>

#include "vrex/stub/StubServer.h"

namespace vrex::fuzz {

struct RawReply {
  std::string bytes;      ///< everything the server wrote
  bool complete = false;  ///< the server closed normally (no reset)
};

/// Throws std::runtime_error when no socket pair can be made. Sending stops
/// early when the server closes first (it may refuse a request before its end).
RawReply ExchangeInProcess(stub::StubServer& server, std::string_view request);

}  // namespace vrex::fuzz
