#include "RecordingSocketStream.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vrex::stub {

namespace {

int ToPollMilliseconds(std::chrono::microseconds timeout) {
  // Round up so that a sub-millisecond timeout still waits instead of polling once.
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(timeout).count();
  return static_cast<int>(std::clamp<decltype(ms)>(ms, 0, 24 * 3600 * 1000));
}

/// poll() for one socket, repeated when a signal interrupts it.
int PollSocket(socket_t sock, short events, int timeoutMs) {
  pollfd fd{sock, events, 0};
  int result = 0;
  do {
    result = ::poll(&fd, 1, timeoutMs);
  } while (result < 0 && errno == EINTR);
  return result;
}

void SplitAddress(const sockaddr_storage& address, std::string& ip, int& port) {
  char text[INET6_ADDRSTRLEN] = {};
  if (address.ss_family == AF_INET) {
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
    ::inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
    port = ntohs(v4.sin_port);
  } else if (address.ss_family == AF_INET6) {
    const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
    ::inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
    port = ntohs(v6.sin6_port);
  }
  ip = text;
}

}  // namespace

RecordingSocketStream::RecordingSocketStream(socket_t sock, Timeouts timeouts)
    : sock_(sock), timeouts_(timeouts) {}

bool RecordingSocketStream::is_readable() const {
  return HasBufferedInput() ||
         PollSocket(sock_, POLLIN, ToPollMilliseconds(timeouts_.read)) > 0;
}

bool RecordingSocketStream::is_writable() const {
  return PollSocket(sock_, POLLOUT, ToPollMilliseconds(timeouts_.write)) > 0;
}

bool RecordingSocketStream::WaitForInput(std::chrono::milliseconds timeout) const {
  return HasBufferedInput() ||
         PollSocket(sock_, POLLIN, static_cast<int>(timeout.count())) != 0;
}

ssize_t RecordingSocketStream::ReadFromBuffer(char* ptr, size_t size) {
  const std::size_t count = std::min(size, bufferEnd_ - bufferBegin_);
  std::memcpy(ptr, buffer_.data() + bufferBegin_, count);
  recorded_.append(ptr, count);
  bufferBegin_ += count;
  return static_cast<ssize_t>(count);
}

ssize_t RecordingSocketStream::read(char* ptr, size_t size) {
  if (!HasBufferedInput()) {
    if (!is_readable()) {
      return -1;
    }
    ssize_t received = 0;
    do {
      received = ::recv(sock_, buffer_.data(), buffer_.size(), 0);
    } while (received < 0 && errno == EINTR);
    if (received <= 0) {
      return received;
    }
    bufferBegin_ = 0;
    bufferEnd_ = static_cast<std::size_t>(received);
  }
  return ReadFromBuffer(ptr, size);
}

ssize_t RecordingSocketStream::write(const char* ptr, size_t size) {
  if (!is_writable()) {
    return -1;
  }
  ssize_t sent = 0;
  do {
    sent = ::send(sock_, ptr, size, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent;
}

void RecordingSocketStream::get_remote_ip_and_port(std::string& ip, int& port) const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (::getpeername(sock_, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    SplitAddress(address, ip, port);
  }
}

void RecordingSocketStream::get_local_ip_and_port(std::string& ip, int& port) const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (::getsockname(sock_, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    SplitAddress(address, ip, port);
  }
}

socket_t RecordingSocketStream::socket() const { return sock_; }

void RecordingSocketStream::StartRecording() { recorded_.clear(); }

}  // namespace vrex::stub
