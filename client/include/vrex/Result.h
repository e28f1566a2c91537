#pragma once
// The answer of a query together with the outcome of the call.

#include <memory>
#include <utility>

#include "vrex/Outcome.h"

namespace vrex {

/// Holds the answer message of a query and the Outcome of the call. Test
/// `Ok()` before using the answer: after a failure it is empty, or as the
/// parser left it when a 200 answer was unreadable (as with VrexClient::Post).
template <class Answer>
class Result {
 public:
  /// An answer this Result owns.
  Result(std::unique_ptr<Answer> answer, Outcome outcome)
      : owned_(std::move(answer)), answer_(owned_.get()), outcome_(std::move(outcome)) {}
  /// An answer that lives on a caller's google::protobuf::Arena.
  Result(Answer* answerOnArena, Outcome outcome)
      : answer_(answerOnArena), outcome_(std::move(outcome)) {}

  bool Ok() const { return outcome_.Ok(); }
  explicit operator bool() const { return Ok(); }
  const Outcome& GetOutcome() const { return outcome_; }

  Answer& Value() { return *answer_; }
  const Answer& Value() const { return *answer_; }
  Answer& operator*() { return *answer_; }
  const Answer& operator*() const { return *answer_; }
  Answer* operator->() { return answer_; }
  const Answer* operator->() const { return answer_; }

 private:
  std::unique_ptr<Answer> owned_;  // empty when the answer is on an arena
  Answer* answer_;
  Outcome outcome_;
};

}  // namespace vrex
