#include "AnswerMetaFile.h"

#include <charconv>

#include "vrex/stub/AnswerLoader.h"

namespace vrex::stub {

namespace {

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  const auto last = text.find_last_not_of(kBlanks);
  return text.substr(first, last - first + 1);
}

class MetaLineError {
 public:
  MetaLineError(const std::string& origin, int lineNumber)
      : prefix_(origin + ":" + std::to_string(lineNumber) + ": ") {}

  [[noreturn]] void Fail(const std::string& reason) const {
    throw AnswerLoadError(prefix_ + reason);
  }

 private:
  std::string prefix_;
};

int ParseNumber(std::string_view value, int min, int max, const MetaLineError& error) {
  int number = 0;
  const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (ec != std::errc() || end != value.data() + value.size() || number < min || number > max) {
    error.Fail("'" + std::string(value) + "' is not a number from " + std::to_string(min) +
               " to " + std::to_string(max));
  }
  return number;
}

ResponseHeader ParseHeader(std::string_view value, const MetaLineError& error) {
  const auto colon = value.find(':');
  if (colon == std::string_view::npos || Trim(value.substr(0, colon)).empty()) {
    error.Fail("a header is written 'header = Name: value'");
  }
  return {std::string(Trim(value.substr(0, colon))),
          std::string(Trim(value.substr(colon + 1)))};
}

void ApplyLine(std::string_view key, std::string_view value, AnswerMeta& meta,
               const MetaLineError& error) {
  if (key == "status") {
    meta.status = ParseNumber(value, 100, 999, error);
  } else if (key == "content-type") {
    meta.contentType = std::string(value);
  } else if (key == "delay-ms") {
    meta.delay = std::chrono::milliseconds(ParseNumber(value, 0, 3'600'000, error));
  } else if (key == "header") {
    meta.headers.push_back(ParseHeader(value, error));
  } else if (key == "answer-type") {
    meta.answerType = std::string(value);
  } else {
    error.Fail("unknown key '" + std::string(key) +
               "' (known: status, content-type, delay-ms, header, answer-type)");
  }
}

}  // namespace

AnswerMeta ParseAnswerMeta(std::string_view text, const std::string& origin) {
  AnswerMeta meta;
  int lineNumber = 0;
  while (!text.empty()) {
    const auto newline = text.find('\n');
    const auto rawLine = text.substr(0, newline);
    text = newline == std::string_view::npos ? std::string_view{} : text.substr(newline + 1);
    ++lineNumber;

    const auto line = Trim(rawLine);
    if (line.empty() || line.front() == '#') {
      continue;
    }
    const MetaLineError error(origin, lineNumber);
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) {
      error.Fail("expected 'key = value'");
    }
    ApplyLine(Trim(line.substr(0, equals)), Trim(line.substr(equals + 1)), meta, error);
  }
  return meta;
}

void ApplyAnswerMeta(const AnswerMeta& meta, CannedAnswer& answer) {
  if (meta.status) {
    answer.status = *meta.status;
  }
  if (meta.contentType) {
    answer.contentType = *meta.contentType;
  }
  if (meta.delay) {
    answer.delay = *meta.delay;
  }
  answer.headers.insert(answer.headers.end(), meta.headers.begin(), meta.headers.end());
}

}  // namespace vrex::stub
