#include "vrex/stub/JournalEntry.h"

#include <algorithm>

#include "vrex/data/Text.h"

namespace vrex::stub {

const std::string* JournalEntry::FindHeader(std::string_view name) const {
  const auto found = std::find_if(headers.begin(), headers.end(), [&](const HeaderField& h) {
    return data::EqualsIgnoringCase(h.name, name);
  });
  return found == headers.end() ? nullptr : &found->value;
}

}  // namespace vrex::stub
