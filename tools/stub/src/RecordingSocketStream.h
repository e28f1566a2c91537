#pragma once
// The HTTP library's view of one accepted connection, reading and writing the
// socket directly, that also keeps the bytes it hands out for the request
// being read. The HTTP library parses headers into a sorted map; these bytes
// let the journal report them in the order they came.

#include <httplib.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <string>

namespace vrex::stub {

class RecordingSocketStream final : public httplib::Stream {
 public:
  struct Timeouts {
    std::chrono::microseconds read;
    std::chrono::microseconds write;
  };

  RecordingSocketStream(socket_t sock, Timeouts timeouts);

  bool is_readable() const override;
  bool is_writable() const override;
  ssize_t read(char* ptr, size_t size) override;
  ssize_t write(const char* ptr, size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  socket_t socket() const override;

  /// Waits up to `timeout` for input. True when bytes wait, and also when the
  /// peer closed or the socket failed: the next read then reports that.
  bool WaitForInput(std::chrono::milliseconds timeout) const;

  /// Forgets what was recorded; bytes read from now on are recorded.
  void StartRecording();
  /// Every byte handed out by read() since StartRecording(), in order.
  const std::string& Recorded() const { return recorded_; }

 private:
  bool HasBufferedInput() const { return bufferBegin_ < bufferEnd_; }
  ssize_t ReadFromBuffer(char* ptr, size_t size);

  socket_t sock_;
  Timeouts timeouts_;
  // Header lines are read a byte at a time; the buffer keeps that from being
  // one system call per byte. It lives as long as the connection, so bytes of
  // a following request received early are not lost.
  std::array<char, 4096> buffer_{};
  std::size_t bufferBegin_ = 0;
  std::size_t bufferEnd_ = 0;
  std::string recorded_;
};

}  // namespace vrex::stub
