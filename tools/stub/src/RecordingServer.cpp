#include "RecordingServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include "RecordingSocketStream.h"

namespace vrex::stub {

namespace {

thread_local const RecordingSocketStream* t_currentStream = nullptr;

/// Makes a stream the current one of this thread for one request.
class CurrentStreamScope {
 public:
  explicit CurrentStreamScope(const RecordingSocketStream& stream) { t_currentStream = &stream; }
  ~CurrentStreamScope() { t_currentStream = nullptr; }
  CurrentStreamScope(const CurrentStreamScope&) = delete;
  CurrentStreamScope& operator=(const CurrentStreamScope&) = delete;
};

// How often an idle kept-alive connection looks whether the server stops.
constexpr std::chrono::milliseconds kIdlePollInterval{10};

std::chrono::microseconds Microseconds(time_t seconds, time_t microseconds) {
  return std::chrono::seconds(seconds) + std::chrono::microseconds(microseconds);
}

void CloseSocket(socket_t sock) {
  ::shutdown(sock, SHUT_RDWR);
  ::close(sock);
}

}  // namespace

std::string_view RecordingServer::CurrentRequestBytes() {
  return t_currentStream == nullptr ? std::string_view{} : t_currentStream->Recorded();
}

void RecordingServer::ShutDownCurrentConnection() {
  if (t_currentStream != nullptr) {
    ::shutdown(t_currentStream->socket(), SHUT_RDWR);
  }
}

bool RecordingServer::WaitForNextRequest(const RecordingSocketStream& stream) const {
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::seconds(keep_alive_timeout_sec_);
  while (svr_sock_ != INVALID_SOCKET) {
    if (stream.WaitForInput(kIdlePollInterval)) {
      return true;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      return false;
    }
  }
  return false;
}

bool RecordingServer::process_and_close_socket(socket_t sock) {
  RecordingSocketStream stream(
      sock, {Microseconds(read_timeout_sec_, read_timeout_usec_),
             Microseconds(write_timeout_sec_, write_timeout_usec_)});
  bool served = false;
  for (auto remaining = keep_alive_max_count_; remaining > 0 && WaitForNextRequest(stream);
       --remaining) {
    stream.StartRecording();
    bool connectionClosed = false;
    {
      const CurrentStreamScope scope(stream);
      served = process_request(stream, remaining == 1, connectionClosed, nullptr);
    }
    if (!served || connectionClosed) {
      break;
    }
  }
  CloseSocket(sock);
  return served;
}

}  // namespace vrex::stub
