#include "vrex/data/Text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace vrex::data {

namespace {

// Locale-independent, so that no user setting changes what matches.
char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return LowerAscii(x) == LowerAscii(y);
         });
}

std::string FormatBytes(std::uint64_t bytes) {
  if (bytes < 1024) {
    return std::to_string(bytes) + " B";
  }
  static constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB"};
  double value = static_cast<double>(bytes) / 1024.0;
  std::size_t unit = 0;
  while (value >= 1024.0 && unit + 1 < std::size(kUnits)) {
    value /= 1024.0;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %s", value, kUnits[unit]);
  return text;
}

Result<std::uint64_t> ParseByteSize(std::string_view text) {
  const Error advice = "\"" + std::string(text) +
                       "\" is no size; write bytes (1048576) or a number with K, M, G or T "
                       "(512M, 2G)";
  std::size_t digits = 0;
  while (digits < text.size() && ((text[digits] >= '0' && text[digits] <= '9') ||
                                  text[digits] == '.')) {
    ++digits;
  }
  std::string_view unit = text.substr(digits);
  for (const std::string_view suffix : {"iB", "B"}) {
    if (unit.size() > suffix.size() && EqualsIgnoringCase(unit.substr(1), suffix)) {
      unit = unit.substr(0, 1);
    }
  }
  static constexpr std::string_view kUnits = "kmgt";
  int power = 0;
  if (!unit.empty()) {
    const std::size_t at = kUnits.find(LowerAscii(unit[0]));
    if (unit.size() != 1 || at == std::string_view::npos) {
      return Result<std::uint64_t>::Failure(advice);
    }
    power = static_cast<int>(at) + 1;
  }
  if (digits == 0) {
    return Result<std::uint64_t>::Failure(advice);
  }
  char* end = nullptr;
  const std::string number(text.substr(0, digits));
  const double value = std::strtod(number.c_str(), &end);
  const double bytes = value * static_cast<double>(std::uint64_t{1} << (10 * power));
  if (end != number.c_str() + number.size() || !(bytes < 18446744073709551616.0)) {
    return Result<std::uint64_t>::Failure(advice);
  }
  return Result<std::uint64_t>::Success(static_cast<std::uint64_t>(bytes));
}

}  // namespace vrex::data
