#pragma once
// The contract's 128-bit identifier (bcl::Guid) in its text and byte forms.
//
// The 16-byte form is the identifier's usual binary layout: the first three
// groups of the text are stored little-endian, the last two as written. The
// contract splits that form in two, `lo` being its first eight bytes and `hi`
// its last eight, each read as a little-endian number. So the text
//   00112233-4455-6677-8899-aabbccddeeff
// is the bytes 33 22 11 00 55 44 77 66 88 99 aa bb cc dd ee ff, and the
// message lo = 0x6677445500112233, hi = 0xffeeddccbbaa9988.
//
//   vrex::Result<bcl::Guid> id = vrex::data::ParseGuid("00112233-4455-6677-8899-AABBCCDDEEFF");
//   if (id) std::cout << vrex::data::FormatGuid(id.Value());  // lower case

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "bcl.pb.h"
#include "vrex/Export.h"
#include "vrex/Result.h"

namespace vrex::data {

using GuidBytes = std::array<std::uint8_t, 16>;

/// The 16-byte form of an identifier.
VREX_EXPORT GuidBytes GuidToBytes(const bcl::Guid& guid);

/// The identifier of a 16-byte form.
VREX_EXPORT bcl::Guid GuidFromBytes(const GuidBytes& bytes);

/// The canonical text: 32 lower-case hexadecimal digits in groups of
/// 8-4-4-4-12 joined by hyphens.
VREX_EXPORT std::string FormatGuid(const bcl::Guid& guid);

/// Reads the canonical text, in upper or lower case. Anything else (braces,
/// blanks, missing hyphens, a wrong length, a non-hexadecimal digit) is an
/// error.
VREX_EXPORT Result<bcl::Guid> ParseGuid(std::string_view text);

}  // namespace vrex::data
