#pragma once
// What a running stub server answers by request type: its cases, with the
// place each has reached in its answers, and responders that compute answers
// from the request. Changed by tests while worker threads read it.

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "RequestMatch.h"
#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/Plant.h"
#include "vrex/stub/Responder.h"
#include "vrex/stub/StubCase.h"

namespace vrex::stub {

/// The answer a case gives, and which case gave it.
struct Selection {
  CannedAnswer answer;
  std::string caseName;
  bool unmatched = false;  ///< no case matched: `answer` is a 404 that says why
};

class AnswerTable {
 public:
  /// Makes `answer` the only answer of the default case of `requestType`.
  /// Throws std::invalid_argument when the catalog knows no `requestType`,
  /// so that a misspelt name fails where it is written.
  void Set(std::string_view requestType, CannedAnswer answer);
  /// Adds `stubCase` after the cases of its type that have a match; a
  /// default case replaces the type's default. Throws std::invalid_argument,
  /// naming the cause, for an unknown type or a match that is no JSON of its request.
  void Add(StubCase stubCase);
  /// Replaces every case of the request types in `cases` by those; throws
  /// as Add does, before anything changes.
  void Replace(std::vector<StubCase> cases);
  void Remove(std::string_view requestType);
  void Clear();
  /// The first answer of the default case of `requestType`, if it has one.
  std::optional<CannedAnswer> Find(std::string_view requestType) const;
  /// Every case, by request type, in the order they are tried.
  std::vector<StubCase> Cases() const;
  /// Every case gives its first answer again.
  void ResetSequences();
  /// The answer to a request of `requestType` with `body`, moving its case on
  /// to the next answer; nothing when the type has no case.
  std::optional<Selection> Select(std::string_view requestType, std::string_view body);

  /// Throws std::invalid_argument as Set does.
  void SetResponder(std::string_view requestType, Responder responder);
  void RemoveResponder(std::string_view requestType);
  /// The responder of `requestType`; an empty function when it has none.
  Responder FindResponder(std::string_view requestType) const;

  /// The plant that answers what no responder or case does; nullptr for none.
  void SetPlant(std::shared_ptr<const Plant> plant);
  std::shared_ptr<const Plant> FindPlant() const;

 private:
  struct LiveCase {
    StubCase definition;
    std::optional<RequestMatch> match;  // none: the default case
    std::size_t given = 0;              // answers given so far
  };
  using CaseList = std::vector<LiveCase>;

  static LiveCase Compile(StubCase stubCase);
  static void Insert(CaseList& cases, LiveCase added);
  static CannedAnswer Give(LiveCase& stubCase);

  mutable std::mutex mutex_;
  std::map<std::string, CaseList, std::less<>> cases_;
  std::map<std::string, Responder, std::less<>> responders_;
  std::shared_ptr<const Plant> plant_;
};

}  // namespace vrex::stub
