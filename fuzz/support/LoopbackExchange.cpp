#include "LoopbackExchange.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace vrex::fuzz {

namespace {

class Socket {
 public:
  Socket() : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (fd_ < 0) {
      throw std::runtime_error(std::string("socket: ") + std::strerror(errno));
    }
  }
  ~Socket() { ::close(fd_); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  int fd() const { return fd_; }

 private:
  int fd_;
};

void SetTimeouts(const Socket& socket, std::chrono::milliseconds timeout) {
  const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(timeout).count();
  timeval value{static_cast<time_t>(micros / 1'000'000),
                static_cast<suseconds_t>(micros % 1'000'000)};
  ::setsockopt(socket.fd(), SOL_SOCKET, SO_RCVTIMEO, &value, sizeof value);
  ::setsockopt(socket.fd(), SOL_SOCKET, SO_SNDTIMEO, &value, sizeof value);
}

void Connect(const Socket& socket, int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(socket.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("connect to 127.0.0.1:" + std::to_string(port) + ": " +
                             std::strerror(errno));
  }
}

// MSG_NOSIGNAL: a server that closed early gives EPIPE, not a signal.
void SendAll(const Socket& socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket.fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) {
      continue;
    }
    if (sent <= 0) {
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

RawReply ReceiveAll(const Socket& socket) {
  RawReply reply;
  std::array<char, 16384> chunk{};
  for (;;) {
    const ssize_t received = ::recv(socket.fd(), chunk.data(), chunk.size(), 0);
    if (received < 0 && errno == EINTR) {
      continue;
    }
    if (received <= 0) {
      reply.complete = received == 0;
      return reply;
    }
    reply.bytes.append(chunk.data(), static_cast<std::size_t>(received));
  }
}

}  // namespace

RawReply ExchangeRaw(int port, std::string_view request, std::chrono::milliseconds timeout) {
  const Socket socket;
  SetTimeouts(socket, timeout);
  Connect(socket, port);
  SendAll(socket, request);
  ::shutdown(socket.fd(), SHUT_WR);
  return ReceiveAll(socket);
}

}  // namespace vrex::fuzz
