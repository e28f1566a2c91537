#pragma once
// The list of requests the stub server received, shared by its worker threads
// and the test that reads it. Bounded: past its count or its bytes the oldest
// requests go, and are counted.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

class RequestJournal {
 public:
  /// Keeps at most `maxEntries` requests and `maxBytes` of heads and bodies;
  /// the newest request is kept whatever its size.
  RequestJournal(std::size_t maxEntries, std::uint64_t maxBytes);

  void Add(JournalEntry entry);
  std::vector<JournalEntry> Entries() const;
  /// Requests dropped to keep the bounds since the last Clear.
  std::uint64_t Dropped() const;
  void Clear();

 private:
  const std::size_t maxEntries_;
  const std::uint64_t maxBytes_;
  mutable std::mutex mutex_;
  std::deque<JournalEntry> entries_;
  std::uint64_t bytes_ = 0;
  std::uint64_t dropped_ = 0;
};

}  // namespace vrex::stub
