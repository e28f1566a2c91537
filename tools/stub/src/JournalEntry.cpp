#include "vrex/stub/JournalEntry.h"

#include <algorithm>
#include <cctype>

namespace vrex::stub {

namespace {

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

const std::string* JournalEntry::FindHeader(std::string_view name) const {
  const auto found = std::find_if(headers.begin(), headers.end(), [&](const HeaderField& h) {
    return EqualIgnoringCase(h.name, name);
  });
  return found == headers.end() ? nullptr : &found->value;
}

}  // namespace vrex::stub
