#pragma once
// The connections a running server has open: their numbers, the most open
// at once, and which one gives way when the connection limit is reached.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "vrex/stub/StubServerOptions.h"

namespace vrex::stub {

class HttpConnection;

class ConnectionRegistry {
 public:
  ConnectionRegistry(std::size_t limit, LogSink log);

  /// Admits `connection` and returns its number: 1, 2, ... At the limit, the
  /// connection that has waited longest for a request is closed to make room;
  /// when all are busy answering, the new one is refused: 0.
  std::uint64_t Open(const std::shared_ptr<HttpConnection>& connection);
  void Closed(std::uint64_t id);
  /// Whether connection `id` waits for a request (it may then be closed to
  /// make room) or is busy answering one.
  void SetWaiting(std::uint64_t id, bool waiting);

  std::size_t Peak() const;
  /// Starts counting the peak again from the connections open now.
  void RestartPeak();

 private:
  struct Entry {
    std::weak_ptr<HttpConnection> connection;
    std::optional<std::chrono::steady_clock::time_point> waitingSince;
    bool closing = false;  // made room for another; no longer counted
  };
  /// Marks the connection waiting longest as closing and returns its number;
  /// 0 when none waits.
  std::uint64_t TakeLongestWaiting();

  const std::size_t limit_;
  const LogSink log_;
  mutable std::mutex mutex_;
  std::map<std::uint64_t, Entry> open_;
  std::size_t counted_ = 0;  // open and not closing
  std::size_t peak_ = 0;
  std::uint64_t lastId_ = 0;
};

}  // namespace vrex::stub
