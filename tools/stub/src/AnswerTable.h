#pragma once
// What a running stub server answers by request type: canned answers, and
// responders that compute theirs from the request. Changed by tests while
// worker threads read it.

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "vrex/stub/AnswerLoader.h"
#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/Responder.h"

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

  /// Throws std::invalid_argument as Set does.
  void SetResponder(std::string_view requestType, Responder responder);
  void RemoveResponder(std::string_view requestType);
  /// The responder of `requestType`; an empty function when it has none.
  Responder FindResponder(std::string_view requestType) const;

 private:
  mutable std::mutex mutex_;
  AnswerSet answers_;
  std::map<std::string, Responder, std::less<>> responders_;
};

}  // namespace vrex::stub
