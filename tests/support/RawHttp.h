#pragma once
// Sends hand-written HTTP bytes to a local port, for requests whose exact
// form matters (header order, line endings) and which a client library would
// rewrite, and for clients that misbehave on purpose.

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace vrex::testing {

/// A client connection to 127.0.0.1 that the test drives byte by byte.
/// Every wait is bounded: a silent server fails the test instead of hanging
/// it. Failures throw std::runtime_error.
class RawConnection {
 public:
  explicit RawConnection(int port);
  ~RawConnection();  ///< closes the connection
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  void Send(std::string_view bytes);
  /// What comes until the server closes the connection, or until `atMost`
  /// bytes came.
  std::string Receive(std::size_t atMost = std::numeric_limits<std::size_t>::max());

 private:
  int fd_;
};

/// Connects to 127.0.0.1:`port`, sends `request` as it is and returns what
/// comes back until the server closes the connection (send
/// "Connection: close"). Throws std::runtime_error when the exchange fails.
std::string ExchangeRaw(int port, std::string_view request);

/// The status code of the status line that starts `response`, or 0.
int StatusOf(std::string_view response);

/// What follows the head of `response`; "" when the head never ends.
std::string BodyOf(std::string_view response);

}  // namespace vrex::testing
