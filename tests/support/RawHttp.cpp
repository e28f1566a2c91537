#include "RawHttp.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace vrex::testing {

namespace {

// Bound on a silent server, so a broken one fails the test instead of hanging it.
constexpr int kReceiveTimeoutMs = 30'000;

class Socket {
 public:
  Socket() : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
    if (fd_ < 0) {
      throw std::runtime_error("socket() failed");
    }
  }
  ~Socket() { ::close(fd_); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  int Fd() const { return fd_; }

 private:
  int fd_;
};

void Connect(const Socket& socket, int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(socket.Fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("cannot connect to port " + std::to_string(port));
  }
}

void SendAll(const Socket& socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket.Fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) {
      throw std::runtime_error("send() failed");
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::string ReceiveUntilClosed(const Socket& socket) {
  std::string received;
  char buffer[4096];
  for (;;) {
    pollfd fd{socket.Fd(), POLLIN, 0};
    if (::poll(&fd, 1, kReceiveTimeoutMs) <= 0) {
      throw std::runtime_error("the server neither answered nor closed the connection");
    }
    const ssize_t n = ::recv(socket.Fd(), buffer, sizeof buffer, 0);
    if (n < 0) {
      throw std::runtime_error("recv() failed");
    }
    if (n == 0) {
      return received;
    }
    received.append(buffer, static_cast<std::size_t>(n));
  }
}

}  // namespace

std::string ExchangeRaw(int port, std::string_view request) {
  const Socket socket;
  Connect(socket, port);
  SendAll(socket, request);
  return ReceiveUntilClosed(socket);
}

int StatusOf(std::string_view response) {
  // "HTTP/1.1 200 OK"
  const auto space = response.find(' ');
  if (space == std::string_view::npos || response.size() < space + 4) {
    return 0;
  }
  return std::atoi(std::string(response.substr(space + 1, 3)).c_str());
}

}  // namespace vrex::testing
