#include "AnswerTable.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "vrex/RequestCatalog.h"

namespace vrex::stub {

void AnswerTable::Set(std::string_view requestType, CannedAnswer answer) {
  if (FindRequest(requestType) == nullptr) {
    throw std::invalid_argument("'" + std::string(requestType) +
                                "' is not a request type the server knows");
  }
  const std::lock_guard lock(mutex_);
  answers_.insert_or_assign(std::string(requestType), std::move(answer));
}

void AnswerTable::Merge(AnswerSet answers) {
  const std::lock_guard lock(mutex_);
  for (auto& [requestType, answer] : answers) {
    answers_.insert_or_assign(requestType, std::move(answer));
  }
}

void AnswerTable::Remove(std::string_view requestType) {
  const std::lock_guard lock(mutex_);
  const auto found = answers_.find(requestType);
  if (found != answers_.end()) {
    answers_.erase(found);
  }
}

void AnswerTable::Clear() {
  const std::lock_guard lock(mutex_);
  answers_.clear();
}

std::optional<CannedAnswer> AnswerTable::Find(std::string_view requestType) const {
  const std::lock_guard lock(mutex_);
  const auto found = answers_.find(requestType);
  if (found == answers_.end()) {
    return std::nullopt;
  }
  return found->second;
}

}  // namespace vrex::stub
