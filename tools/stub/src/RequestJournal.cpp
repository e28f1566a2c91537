#include "RequestJournal.h"

#include <utility>

namespace vrex::stub {

namespace {

std::uint64_t SizeOf(const JournalEntry& entry) {
  std::uint64_t size = entry.head.size() + entry.body.size();
  for (const HeaderField& header : entry.headers) size += header.name.size() + header.value.size();
  return size;
}

}  // namespace

RequestJournal::RequestJournal(std::size_t maxEntries, std::uint64_t maxBytes)
    : maxEntries_(maxEntries), maxBytes_(maxBytes) {}

void RequestJournal::Add(JournalEntry entry) {
  const std::lock_guard lock(mutex_);
  bytes_ += SizeOf(entry);
  entries_.push_back(std::move(entry));
  while (entries_.size() > 1 && (entries_.size() > maxEntries_ || bytes_ > maxBytes_)) {
    bytes_ -= SizeOf(entries_.front());
    entries_.pop_front();
    ++dropped_;
  }
}

std::vector<JournalEntry> RequestJournal::Entries() const {
  const std::lock_guard lock(mutex_);
  return {entries_.begin(), entries_.end()};
}

std::uint64_t RequestJournal::Dropped() const {
  const std::lock_guard lock(mutex_);
  return dropped_;
}

void RequestJournal::Clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
  bytes_ = 0;
  dropped_ = 0;
}

}  // namespace vrex::stub
