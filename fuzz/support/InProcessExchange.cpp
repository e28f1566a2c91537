#include "InProcessExchange.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <mutex>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

namespace vrex::fuzz {

namespace {

// MSG_NOSIGNAL: a server that closed early gives EPIPE, not a signal.
void SendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) {
      continue;
    }
    if (sent <= 0) {
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

RawReply ReceiveAll(int socket) {
  RawReply reply;
  std::array<char, 16384> chunk{};
  for (;;) {
    const ssize_t received = ::recv(socket, chunk.data(), chunk.size(), 0);
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

// The client's side of every exchange runs on one long-lived thread: making a
// thread per input cost more than the exchange itself.
class ClientSide {
 public:
  ClientSide() : thread_([this] { Run(); }) {}
  ~ClientSide() {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }
  ClientSide(const ClientSide&) = delete;
  ClientSide& operator=(const ClientSide&) = delete;

  /// Starts sending `request` on `socket` and reading the reply.
  void Begin(int socket, std::string_view request) {
    {
      const std::lock_guard lock(mutex_);
      socket_ = socket;
      request_ = request;
      done_ = false;
    }
    wake_.notify_all();
  }

  /// Waits for the reply of the exchange begun last.
  RawReply Finish() {
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return done_; });
    return std::move(reply_);
  }

 private:
  void Run() {
    std::unique_lock lock(mutex_);
    for (;;) {
      wake_.wait(lock, [this] { return stopping_ || socket_ >= 0; });
      if (stopping_) {
        return;
      }
      const int socket = std::exchange(socket_, -1);
      const std::string_view request = request_;
      lock.unlock();
      SendAll(socket, request);
      ::shutdown(socket, SHUT_WR);
      RawReply reply = ReceiveAll(socket);
      lock.lock();
      reply_ = std::move(reply);
      done_ = true;
      wake_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  int socket_ = -1;
  std::string_view request_;
  RawReply reply_;
  bool done_ = false;
  bool stopping_ = false;
  std::thread thread_;  // last: starts once the members above exist
};

}  // namespace

RawReply ExchangeInProcess(stub::StubServer& server, std::string_view request) {
  static ClientSide clientSide;
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    throw std::runtime_error(std::string("socketpair: ") + std::strerror(errno));
  }
  // The client side sends and reads on its own thread, so that neither side
  // can fill a socket buffer the other is not draining.
  clientSide.Begin(ends[0], request);
  server.ServeConnection(ends[1]);  // closes the server's end when done
  RawReply reply = clientSide.Finish();
  ::close(ends[0]);
  return reply;
}

}  // namespace vrex::fuzz
