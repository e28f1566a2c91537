#pragma once
// Sends hand-written HTTP bytes to a local port, for requests whose exact
// form matters (header order, line endings) and which a client library would
// rewrite.

#include <string>
#include <string_view>

namespace vrex::testing {

/// Connects to 127.0.0.1:`port`, sends `request` as it is and returns what
/// comes back until the server closes the connection (send
/// "Connection: close"). Throws std::runtime_error when the exchange fails.
std::string ExchangeRaw(int port, std::string_view request);

/// The status code of the status line that starts `response`, or 0.
int StatusOf(std::string_view response);

}  // namespace vrex::testing
