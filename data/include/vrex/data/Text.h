#pragma once
// Small text rules shared by the library and its tools.

#include <cstdint>
#include <string>
#include <string_view>

#include "vrex/Export.h"
#include "vrex/Result.h"

namespace vrex::data {

/// Whether `a` and `b` are equal when ASCII letters are compared without
/// case, as HTTP header names and the catalog's area names are.
VREX_EXPORT bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept;

/// A byte count for people: "512 B", "1.5 KiB", "64.0 MiB", "1.0 GiB".
VREX_EXPORT std::string FormatBytes(std::uint64_t bytes);

/// A byte count as people type it: plain bytes ("1048576") or a number with
/// a binary unit K, M, G or T ("512M", "2G", "1.5G"; "KiB", "MB" and "k" are
/// read alike). Fails for anything else, and for counts beyond 64 bits.
VREX_EXPORT Result<std::uint64_t> ParseByteSize(std::string_view text);

}  // namespace vrex::data
