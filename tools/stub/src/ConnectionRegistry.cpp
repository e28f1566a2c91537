#include "ConnectionRegistry.h"

#include <algorithm>
#include <string>
#include <utility>

#include "HttpConnection.h"

namespace vrex::stub {

ConnectionRegistry::ConnectionRegistry(std::size_t limit, LogSink log)
    : limit_(std::max<std::size_t>(limit, 1)), log_(std::move(log)) {}

std::uint64_t ConnectionRegistry::TakeLongestWaiting() {
  auto longest = open_.end();
  for (auto it = open_.begin(); it != open_.end(); ++it) {
    const Entry& entry = it->second;
    if (!entry.closing && entry.waitingSince &&
        (longest == open_.end() || *entry.waitingSince < *longest->second.waitingSince)) {
      longest = it;
    }
  }
  if (longest == open_.end()) {
    return 0;
  }
  longest->second.closing = true;
  --counted_;
  return longest->first;
}

std::uint64_t ConnectionRegistry::Open(const std::shared_ptr<HttpConnection>& connection) {
  std::uint64_t makingRoom = 0;
  std::shared_ptr<HttpConnection> toClose;
  std::uint64_t id = 0;
  {
    const std::lock_guard lock(mutex_);
    if (counted_ >= limit_) {
      makingRoom = TakeLongestWaiting();
      if (makingRoom == 0) {
        log_("connection limit of " + std::to_string(limit_) +
             " reached with every connection busy: a new connection is refused");
        return 0;
      }
      toClose = open_[makingRoom].connection.lock();
    }
    id = ++lastId_;
    open_[id] = Entry{connection, std::chrono::steady_clock::now()};
    peak_ = std::max(peak_, ++counted_);
  }
  if (makingRoom != 0) {
    log_("connection limit of " + std::to_string(limit_) + " reached: closing connection " +
         std::to_string(makingRoom) + ", the one waiting longest for a request");
  }
  if (toClose) {
    toClose->Close();
  }
  return id;
}

void ConnectionRegistry::Closed(std::uint64_t id) {
  const std::lock_guard lock(mutex_);
  const auto found = open_.find(id);
  if (found != open_.end()) {
    counted_ -= found->second.closing ? 0 : 1;
    open_.erase(found);
  }
}

void ConnectionRegistry::SetWaiting(std::uint64_t id, bool waiting) {
  const std::lock_guard lock(mutex_);
  const auto found = open_.find(id);
  if (found != open_.end()) {
    found->second.waitingSince =
        waiting ? std::optional(std::chrono::steady_clock::now()) : std::nullopt;
  }
}

std::size_t ConnectionRegistry::Peak() const {
  const std::lock_guard lock(mutex_);
  return peak_;
}

void ConnectionRegistry::RestartPeak() {
  const std::lock_guard lock(mutex_);
  peak_ = counted_;
}

}  // namespace vrex::stub
