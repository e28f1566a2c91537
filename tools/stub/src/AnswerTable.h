#pragma once
// The canned answers of a running stub server by request type; changed by
// tests while worker threads read it.

#include <mutex>
#include <optional>
#include <string_view>

#include "vrex/stub/AnswerLoader.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub {

class AnswerTable {
 public:
  /// Throws std::invalid_argument when the catalog knows no `requestType`,
  /// so that a misspelt name fails where it is written.
  void Set(std::string_view requestType, CannedAnswer answer);
  /// Adds or replaces every answer of `answers`; their types were checked when loaded.
  void Merge(AnswerSet answers);
  void Remove(std::string_view requestType);
  void Clear();
  std::optional<CannedAnswer> Find(std::string_view requestType) const;

 private:
  mutable std::mutex mutex_;
  AnswerSet answers_;
};

}  // namespace vrex::stub
