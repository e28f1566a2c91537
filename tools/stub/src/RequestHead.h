#pragma once
// The header lines of an HTTP request as they stood on the wire. The HTTP
// library keeps headers sorted by name; the journal needs them in arrival
// order, so they are parsed again from the recorded bytes. The request line
// is not: the method and target journaled are the ones the HTTP library read
// and the server acted on.

#include <string_view>
#include <vector>

#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

/// The header fields of `raw`, which starts with the request line, in arrival
/// order; anything after the blank line that ends the head (the body) is
/// ignored. Lines may end with CRLF or LF alone; a line without a colon is
/// skipped.
std::vector<HeaderField> ParseHeaderLines(std::string_view raw);

/// The head of `raw`: everything up to and including the blank line that
/// ends the header lines (all of `raw` when it has none).
std::string_view HeadOf(std::string_view raw);

}  // namespace vrex::stub
