#pragma once
// What protobuf's JSON parser complains about, said in one line with the
// field and what it expected, in the contract's words: no type URLs, no
// TYPE_INT32, no second line with a caret.

#include <string>
#include <string_view>

namespace vrex::internal {

/// E.g. "field LastN.TopN: expected a 32-bit integer, got \"abc\"" for the
/// parser's "(LastN.TopN): invalid value \"abc\" for type TYPE_INT32", or
/// "not JSON: unexpected token near \"}\"". Text it does not know is
/// returned unchanged, on one line.
std::string DescribeJsonParseError(std::string_view parserText);

}  // namespace vrex::internal
