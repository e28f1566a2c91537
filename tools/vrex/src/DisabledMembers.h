#pragma once
// Members of a request's JSON that are shown but not sent: a template writes
// each filter as "//Name", so that it shows the filter's shape yet selects
// nothing when sent unedited; removing the "//" turns the filter on. vrex
// drops such members before it reads a request.

#include <string>
#include <string_view>
#include <vector>

namespace vrex::cli {

/// What a disabled member's name starts with.
inline constexpr std::string_view kDisabledPrefix = "//";

/// `json` (as protobuf prints it, two-space or one-space indented) with
/// the top-level members `names` renamed "//<name>" and a first member
/// "//" that says how to use them. Unchanged when `names` is empty.
std::string DisableTopLevelMembers(std::string json, const std::vector<std::string>& names);

/// `json` without the members, at any depth, whose name starts with "//".
/// Text that is not JSON passes unchanged, for the parser to name its fault.
std::string WithoutDisabledMembers(std::string_view json);

}  // namespace vrex::cli
