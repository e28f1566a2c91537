#include "RequestHead.h"

namespace vrex::stub {

namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view TrimBlanks(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Takes the next line off `raw`, without its line ending.
std::string_view NextLine(std::string_view& raw) {
  const auto newline = raw.find('\n');
  std::string_view line = raw.substr(0, newline);
  raw = newline == std::string_view::npos ? std::string_view{} : raw.substr(newline + 1);
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  return line;
}

}  // namespace

std::vector<HeaderField> ParseHeaderLines(std::string_view raw) {
  std::vector<HeaderField> headers;
  NextLine(raw);  // the request line
  while (!raw.empty()) {
    const std::string_view line = NextLine(raw);
    if (line.empty()) {
      break;  // end of the head
    }
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) {
      continue;
    }
    headers.push_back(
        {std::string(line.substr(0, colon)), std::string(TrimBlanks(line.substr(colon + 1)))});
  }
  return headers;
}

std::string_view HeadOf(std::string_view raw) {
  for (const std::string_view end : {"\r\n\r\n", "\n\n"}) {
    const auto at = raw.find(end);
    if (at != std::string_view::npos) {
      return raw.substr(0, at + end.size());
    }
  }
  return raw;
}

}  // namespace vrex::stub
