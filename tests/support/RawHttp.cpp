#include "RawHttp.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace vrex::testing {

namespace {

// Bound on a silent server, so a broken one fails the test instead of hanging it.
constexpr int kReceiveTimeoutMs = 30'000;

}  // namespace

RawConnection::RawConnection(int port) : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
  if (fd_ < 0) {
    throw std::runtime_error("socket() failed");
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ::close(fd_);
    throw std::runtime_error("cannot connect to port " + std::to_string(port));
  }
}

RawConnection::~RawConnection() { ::close(fd_); }

void RawConnection::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) {
      throw std::runtime_error("send() failed");
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::string RawConnection::Receive(std::size_t atMost) {
  std::string received;
  char buffer[4096];
  while (received.size() < atMost) {
    pollfd fd{fd_, POLLIN, 0};
    if (::poll(&fd, 1, kReceiveTimeoutMs) <= 0) {
      throw std::runtime_error("the server neither answered nor closed the connection");
    }
    const ssize_t n = ::recv(fd_, buffer, std::min(sizeof buffer, atMost - received.size()), 0);
    if (n <= 0) {  // closed, or reset after the last bytes
      break;
    }
    received.append(buffer, static_cast<std::size_t>(n));
  }
  return received;
}

std::string ExchangeRaw(int port, std::string_view request) {
  RawConnection connection(port);
  connection.Send(request);
  return connection.Receive();
}

int StatusOf(std::string_view response) {
  // "HTTP/1.1 200 OK"
  const auto space = response.find(' ');
  if (space == std::string_view::npos || response.size() < space + 4) {
    return 0;
  }
  return std::atoi(std::string(response.substr(space + 1, 3)).c_str());
}

std::string BodyOf(std::string_view response) {
  const auto headEnd = response.find("\r\n\r\n");
  return headEnd == std::string_view::npos ? std::string()
                                           : std::string(response.substr(headEnd + 4));
}

}  // namespace vrex::testing
