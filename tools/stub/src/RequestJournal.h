#pragma once
// The list of requests the stub server received, shared by its worker threads
// and the test that reads it.

#include <mutex>
#include <vector>

#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

class RequestJournal {
 public:
  void Add(JournalEntry entry);
  std::vector<JournalEntry> Entries() const;
  void Clear();

 private:
  mutable std::mutex mutex_;
  std::vector<JournalEntry> entries_;
};

}  // namespace vrex::stub
