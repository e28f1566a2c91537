#pragma once
// The contract's decimal number (bcl::Decimal) as exact decimal text.
//
// The message holds a 96-bit unsigned magnitude (`lo` the low 64 bits, `hi`
// the high 32), and in `signScale` the sign (bit 0, 1 = negative) and the
// scale (bits 1 to 16, 0 to 28): the number is magnitude / 10^scale. The
// text keeps every digit the scale implies, so text and message convert
// both ways without loss: scale 2 and magnitude 1230 is "12.30".
//
//   vrex::Result<bcl::Decimal> price = vrex::data::ParseDecimal("-12.30");
//   // magnitude 1230, scale 2, negative
//   if (price) std::cout << vrex::data::FormatDecimal(price.Value()).Value();  // -12.30

#include <string>
#include <string_view>

#include "bcl.pb.h"
#include "vrex/Export.h"
#include "vrex/Result.h"

namespace vrex::data {

/// The largest scale of a decimal: 28 digits after the point.
constexpr unsigned kMaxDecimalScale = 28;

/// Writes the number as an optional "-", the integer digits (at least one),
/// and, for a scale above 0, "." and exactly `scale` digits. A negative zero
/// keeps its sign ("-0.00"). Fails on a scale above 28 and on set bits of
/// `signScale` above bit 16.
VREX_EXPORT Result<std::string> FormatDecimal(const bcl::Decimal& number);

/// Reads an optional sign ("+" or "-"), one or more digits, and optionally
/// "." followed by one or more digits; the number of those digits is the
/// scale. No blanks, exponent or thousands separators. Fails on malformed
/// text, on more than 28 digits after the point and on a magnitude above
/// 2^96 - 1 (79228162514264337593543950335), rather than rounding.
VREX_EXPORT Result<bcl::Decimal> ParseDecimal(std::string_view text);

}  // namespace vrex::data
