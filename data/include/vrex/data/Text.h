#pragma once
// Small text rules shared by the library and its tools.

#include <string_view>

#include "vrex/Export.h"

namespace vrex::data {

/// Whether `a` and `b` are equal when ASCII letters are compared without
/// case, as HTTP header names and the catalog's area names are.
VREX_EXPORT bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept;

}  // namespace vrex::data
