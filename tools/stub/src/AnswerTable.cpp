#include "AnswerTable.h"

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

}  // namespace

void AnswerTable::Set(std::string_view requestType, CannedAnswer answer) {
  RequireKnownType(requestType);
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

}  // namespace vrex::stub
