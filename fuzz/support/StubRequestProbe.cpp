#include "StubRequestProbe.h"

#include "InProcessExchange.h"

namespace vrex::fuzz {

namespace {

constexpr std::string_view kStatusLinePrefix = "HTTP/1.1 ";

std::size_t CountStatusLines(std::string_view reply) {
  std::size_t count = 0;
  for (auto at = reply.find(kStatusLinePrefix); at != std::string_view::npos;
       at = reply.find(kStatusLinePrefix, at + 1)) {
    ++count;
  }
  return count;
}

std::string AnswerProblem(const stub::JournalEntry& entry, const stub::CannedAnswer& answer) {
  const bool post = entry.method == "POST";
  switch (answer.status) {
    case 200:
      return post ? std::string() : "200 for method '" + entry.method + "'";
    case 405:
      return post ? "405 for a POST" : std::string();
    case 404:
      return {};
    default:
      return "the stub chose status " + std::to_string(answer.status);
  }
}

stub::StubServerOptions TwoThreads() {
  stub::StubServerOptions options;
  options.threads = 2;
  options.adminApi = false;  // arbitrary requests must not change the answers
  return options;
}

}  // namespace

StubRequestProbe::StubRequestProbe(const std::filesystem::path& answerDirectory)
    : server_(TwoThreads()) {
  if (!server_.LoadAnswers(answerDirectory)) {
    std::abort();  // the fuzzer's own set-up is broken: stop at once
  }
  server_.SetRequestObserver([this](const stub::JournalEntry& entry,
                                    const stub::CannedAnswer& answer) { Observe(entry, answer); });
  server_.Start();
}

void StubRequestProbe::Observe(const stub::JournalEntry& entry, const stub::CannedAnswer& answer) {
  std::string problem = AnswerProblem(entry, answer);
  const std::lock_guard lock(mutex_);
  ++handled_;
  if (!problem.empty()) {
    problems_.push_back(std::move(problem));
  }
}

CheckResult StubRequestProbe::Check(std::string_view rawRequest) {
  const RawReply reply = ExchangeInProcess(server_, rawRequest);
  const std::size_t journaled = server_.Journal().size();
  server_.ClearJournal();

  const std::lock_guard lock(mutex_);
  CheckResult result{handled_ > 0, {}};
  if (!problems_.empty()) {
    result.problem = problems_.front();
  } else if (!server_.IsRunning()) {
    result.problem = "the server stopped serving";
  } else if (journaled != handled_) {
    result.problem = "the journal holds " + std::to_string(journaled) +
                     " requests, the observer saw " + std::to_string(handled_);
  } else if (reply.complete && CountStatusLines(reply.bytes) < handled_) {
    result.problem = "handled " + std::to_string(handled_) + " requests but answered fewer";
  }
  handled_ = 0;
  problems_.clear();
  return result;
}

}  // namespace vrex::fuzz
