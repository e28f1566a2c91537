#include "AnswerTable.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "vrex/RequestCatalog.h"

namespace vrex::stub {

namespace {

// A misspelt name fails where it is written, not as a puzzling 404 later.
void RequireKnownType(std::string_view requestType) {
  if (FindRequest(requestType) == nullptr) {
    throw std::invalid_argument("'" + std::string(requestType) +
                                "' is not a request type the server knows");
  }
}

constexpr std::size_t kClosestShown = 3;

struct Miss {
  const StubCase* stubCase;
  MatchOutcome outcome;
};

/// The 404 body for a request no case matched: the cases that came closest
/// and the field in which each differed.
std::string Explain(std::string_view requestType, std::vector<Miss> misses, bool decoded) {
  std::string text = "no case of " + std::string(requestType) + " matches the request";
  if (!decoded) {
    return text + ": its body is no " + std::string(requestType);
  }
  std::stable_sort(misses.begin(), misses.end(), [](const Miss& a, const Miss& b) {
    return a.outcome.agreeing > b.outcome.agreeing;
  });
  text += "; closest:";
  for (std::size_t i = 0; i < misses.size() && i < kClosestShown; ++i) {
    text += (i == 0 ? " \"" : "; \"") + misses[i].stubCase->name + "\" (" +
            misses[i].outcome.difference + ")";
  }
  return text;
}

}  // namespace

AnswerTable::LiveCase AnswerTable::Compile(StubCase stubCase) {
  RequireKnownType(stubCase.requestType);
  LiveCase live{std::move(stubCase), std::nullopt, 0};
  if (!live.definition.match.empty()) {
    auto match = RequestMatch::Parse(live.definition.requestType, live.definition.match);
    if (!match) {
      throw std::invalid_argument("case \"" + live.definition.name +
                                  "\": " + match.GetStatus().Message());
    }
    live.match = std::move(match).Value();
  }
  return live;
}

void AnswerTable::Insert(CaseList& cases, LiveCase added) {
  const bool hasDefault = !cases.empty() && !cases.back().match;
  if (!added.match && hasDefault) {
    cases.back() = std::move(added);
  } else if (hasDefault) {
    cases.insert(cases.end() - 1, std::move(added));
  } else {
    cases.push_back(std::move(added));
  }
}

CannedAnswer AnswerTable::Give(LiveCase& stubCase) {
  const auto& answers = stubCase.definition.answers;
  if (answers.empty()) {
    return CannedAnswer{};
  }
  const std::size_t turn = std::min(stubCase.given, answers.size() - 1);
  stubCase.given = turn + 1;
  return answers[turn];
}

void AnswerTable::Set(std::string_view requestType, CannedAnswer answer) {
  Add({std::string(requestType), "default", {}, {std::move(answer)}});
}

void AnswerTable::Add(StubCase stubCase) {
  LiveCase live = Compile(std::move(stubCase));
  const std::lock_guard lock(mutex_);
  CaseList& cases = cases_[live.definition.requestType];
  Insert(cases, std::move(live));
}

void AnswerTable::Replace(std::vector<StubCase> cases) {
  std::map<std::string, CaseList, std::less<>> replacing;
  for (StubCase& stubCase : cases) {
    LiveCase live = Compile(std::move(stubCase));
    CaseList& list = replacing[live.definition.requestType];
    Insert(list, std::move(live));
  }
  const std::lock_guard lock(mutex_);
  for (auto& [requestType, list] : replacing) {
    cases_.insert_or_assign(requestType, std::move(list));
  }
}

void AnswerTable::Remove(std::string_view requestType) {
  const std::lock_guard lock(mutex_);
  const auto found = cases_.find(requestType);
  if (found != cases_.end()) {
    cases_.erase(found);
  }
}

void AnswerTable::Clear() {
  const std::lock_guard lock(mutex_);
  cases_.clear();
}

std::optional<CannedAnswer> AnswerTable::Find(std::string_view requestType) const {
  const std::lock_guard lock(mutex_);
  const auto found = cases_.find(requestType);
  if (found == cases_.end() || found->second.back().match ||
      found->second.back().definition.answers.empty()) {
    return std::nullopt;
  }
  return found->second.back().definition.answers.front();
}

std::vector<StubCase> AnswerTable::Cases() const {
  const std::lock_guard lock(mutex_);
  std::vector<StubCase> all;
  for (const auto& [requestType, list] : cases_) {
    for (const LiveCase& live : list) {
      all.push_back(live.definition);
    }
  }
  return all;
}

void AnswerTable::ResetSequences() {
  const std::lock_guard lock(mutex_);
  for (auto& [requestType, list] : cases_) {
    for (LiveCase& live : list) {
      live.given = 0;
    }
  }
}

std::optional<Selection> AnswerTable::Select(std::string_view requestType, std::string_view body) {
  const std::lock_guard lock(mutex_);
  const auto found = cases_.find(requestType);
  if (found == cases_.end()) {
    return std::nullopt;  // a type's list goes when its last case does
  }
  CaseList& cases = found->second;
  std::unique_ptr<google::protobuf::Message> request;
  if (cases.front().match) {
    request = DecodeRequest(requestType, body);
  }
  std::vector<Miss> misses;
  for (LiveCase& live : cases) {
    if (live.match) {
      if (request == nullptr) continue;
      MatchOutcome outcome = live.match->Compare(*request);
      if (!outcome.matched) {
        misses.push_back({&live.definition, std::move(outcome)});
        continue;
      }
    }
    return Selection{Give(live), live.definition.name, false};
  }
  return Selection{
      TextAnswer(404, Explain(requestType, std::move(misses), request != nullptr)), {}, true};
}

void AnswerTable::SetResponder(std::string_view requestType, Responder responder) {
  RequireKnownType(requestType);
  const std::lock_guard lock(mutex_);
  responders_.insert_or_assign(std::string(requestType), std::move(responder));
}

void AnswerTable::RemoveResponder(std::string_view requestType) {
  const std::lock_guard lock(mutex_);
  const auto found = responders_.find(requestType);
  if (found != responders_.end()) {
    responders_.erase(found);
  }
}

Responder AnswerTable::FindResponder(std::string_view requestType) const {
  const std::lock_guard lock(mutex_);
  const auto found = responders_.find(requestType);
  return found == responders_.end() ? Responder() : found->second;
}

void AnswerTable::SetPlant(std::shared_ptr<const Plant> plant) {
  const std::lock_guard lock(mutex_);
  plant_ = std::move(plant);
}

std::shared_ptr<const Plant> AnswerTable::FindPlant() const {
  const std::lock_guard lock(mutex_);
  return plant_;
}

}  // namespace vrex::stub
