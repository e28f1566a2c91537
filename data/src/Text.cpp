#include "vrex/data/Text.h"

#include <algorithm>

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

}  // namespace vrex::data
