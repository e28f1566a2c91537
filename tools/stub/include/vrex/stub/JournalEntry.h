#pragma once
// One request as the stub server received it, for tests that check what a
// client really sent: header order and spelling included.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vrex::stub {

/// One request header, name and value as they stood on the wire (the value
/// without the blanks around it).
struct HeaderField {
  std::string name;
  std::string value;

  friend bool operator==(const HeaderField& a, const HeaderField& b) {
    return a.name == b.name && a.value == b.value;
  }
};

struct JournalEntry {
  std::string method;                ///< e.g. "POST"
  std::string path;                  ///< request target as sent, e.g. "/api/MeasurementQuery"
  std::vector<HeaderField> headers;  ///< in arrival order
  std::string body;                  ///< after any chunked transfer coding is removed
  /// The request line and header lines byte for byte, up to and including
  /// the blank line that ends them.
  std::string head;
  /// Which accepted connection carried the request: 1, 2, ... since Start.
  std::uint64_t connection = 0;
  /// The name of the case that answered, empty when none did.
  std::string matchedCase;
  /// The request type has cases but none matched: it was answered with 404.
  bool unmatched = false;

  /// Value of the first header whose name equals `name` ignoring case, or
  /// nullptr when the request had none.
  const std::string* FindHeader(std::string_view name) const;
};

}  // namespace vrex::stub
