#include "RequestJournal.h"

#include <utility>

namespace vrex::stub {

void RequestJournal::Add(JournalEntry entry) {
  const std::lock_guard lock(mutex_);
  entries_.push_back(std::move(entry));
}

std::vector<JournalEntry> RequestJournal::Entries() const {
  const std::lock_guard lock(mutex_);
  return entries_;
}

void RequestJournal::Clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
}

}  // namespace vrex::stub
