#include "AnswerMetaFile.h"

#include <charconv>

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

// The problem of one line, prefixed with the file and line number; empty
// when the line is fine.
using LineProblem = std::string;

LineProblem ParseNumber(std::string_view value, int min, int max, int& number) {
  const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (ec != std::errc() || end != value.data() + value.size() || number < min || number > max) {
    return "'" + std::string(value) + "' is not a number from " + std::to_string(min) + " to " +
           std::to_string(max);
  }
  return {};
}

LineProblem ParseHeader(std::string_view value, std::vector<ResponseHeader>& headers) {
  const auto colon = value.find(':');
  if (colon == std::string_view::npos || Trim(value.substr(0, colon)).empty()) {
    return "a header is written 'header = Name: value'";
  }
  headers.push_back(
      {std::string(Trim(value.substr(0, colon))), std::string(Trim(value.substr(colon + 1)))});
  return {};
}

LineProblem ApplyLine(std::string_view key, std::string_view value, AnswerMeta& meta) {
  int number = 0;
  if (key == "status") {
    LineProblem problem = ParseNumber(value, 100, 999, number);
    meta.status = number;
    return problem;
  }
  if (key == "delay-ms") {
    LineProblem problem = ParseNumber(value, 0, 3'600'000, number);
    meta.delay = std::chrono::milliseconds(number);
    return problem;
  }
  if (key == "content-type") {
    meta.contentType = std::string(value);
  } else if (key == "header") {
    return ParseHeader(value, meta.headers);
  } else if (key == "answer-type") {
    meta.answerType = std::string(value);
  } else {
    return "unknown key '" + std::string(key) +
           "' (known: status, content-type, delay-ms, header, answer-type)";
  }
  return {};
}

}  // namespace

Result<AnswerMeta> ParseAnswerMeta(std::string_view text, const std::string& origin) {
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
    const auto equals = line.find('=');
    const LineProblem problem =
        equals == std::string_view::npos
            ? "expected 'key = value'"
            : ApplyLine(Trim(line.substr(0, equals)), Trim(line.substr(equals + 1)), meta);
    if (!problem.empty()) {
      return Result<AnswerMeta>::Failure(origin + ":" + std::to_string(lineNumber) + ": " +
                                         problem);
    }
  }
  return Result<AnswerMeta>::Success(std::move(meta));
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
