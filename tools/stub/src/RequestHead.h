#pragma once
// The head of an HTTP request as it stood on the wire. The HTTP library keeps
// headers sorted by name; the journal needs them in arrival order, so the head
// is parsed again from the recorded bytes.

#include <string>
#include <string_view>
#include <vector>

#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

struct RequestHead {
  std::string method;
  std::string target;
  std::vector<HeaderField> headers;  ///< in arrival order
};

/// Parses the request line and the header lines of `raw`, which starts with
/// the request line; anything after the blank line that ends the head (the
/// body) is ignored. Lines may end with CRLF or LF alone; a line without a
/// colon is skipped.
RequestHead ParseRequestHead(std::string_view raw);

}  // namespace vrex::stub
