#pragma once
// Comma-separated values as RFC 4180 writes them, for spreadsheets and
// notebooks: a field holding a comma, a double quote or a line break is put
// in double quotes, with its double quotes doubled; records end in CRLF.

#include <string>
#include <string_view>
#include <vector>

namespace vrex::cli {

/// One field, quoted only when it has to be; control characters other than
/// line breaks and tabs escaped.
std::string CsvField(std::string_view text);

/// The fields joined by commas, ended by CRLF.
std::string CsvRecord(const std::vector<std::string>& fields);

}  // namespace vrex::cli
