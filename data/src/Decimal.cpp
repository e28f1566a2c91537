#include "vrex/data/Decimal.h"

#include <algorithm>
#include <cstdint>

namespace vrex::data {
namespace {

// A 96-bit magnitude needs more than 64 bits of arithmetic; GCC and Clang
// offer a 128-bit integer (__extension__ keeps -Wpedantic quiet about it).
__extension__ typedef unsigned __int128 Magnitude;

constexpr Magnitude kMaxMagnitude = (Magnitude{1} << 96) - 1;
constexpr std::uint32_t kSignBit = 1;
constexpr unsigned kScaleShift = 1;
constexpr std::uint32_t kScaleMask = 0xFFFF;
constexpr std::uint32_t kUsedBits = kSignBit | kScaleMask << kScaleShift;

Magnitude MagnitudeOf(const bcl::Decimal& number) {
  return Magnitude{number.hi()} << 64 | number.lo();
}

std::string DigitsOf(Magnitude magnitude) {
  std::string digits;
  do {
    digits += static_cast<char>('0' + static_cast<int>(magnitude % 10));
    magnitude /= 10;
  } while (magnitude != 0);
  std::reverse(digits.begin(), digits.end());
  return digits;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

Result<std::string> FormatDecimal(const bcl::Decimal& number) {
  const std::uint32_t signScale = number.signscale();
  if ((signScale & ~kUsedBits) != 0) {
    return Result<std::string>::Failure("decimal: signScale " + std::to_string(signScale) +
                                        " sets bits above bit 16");
  }
  const unsigned scale = signScale >> kScaleShift & kScaleMask;
  if (scale > kMaxDecimalScale) {
    return Result<std::string>::Failure("decimal: scale " + std::to_string(scale) +
                                        " is above " + std::to_string(kMaxDecimalScale));
  }
  std::string digits = DigitsOf(MagnitudeOf(number));
  if (digits.size() <= scale) digits.insert(0, scale + 1 - digits.size(), '0');
  if (scale > 0) digits.insert(digits.size() - scale, 1, '.');
  if ((signScale & kSignBit) != 0) digits.insert(0, 1, '-');
  return Result<std::string>::Success(std::move(digits));
}

Result<bcl::Decimal> ParseDecimal(std::string_view text) {
  const auto fail = [text](const std::string& why) {
    return Result<bcl::Decimal>::Failure("decimal \"" + std::string(text) + "\": " + why);
  };
  std::size_t position = 0;
  const bool negative = !text.empty() && text[0] == '-';
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) ++position;

  Magnitude magnitude = 0;
  std::size_t integerDigits = 0;
  std::size_t fractionDigits = 0;
  bool inFraction = false;
  for (; position < text.size(); ++position) {
    const char c = text[position];
    if (c == '.' && !inFraction) {
      if (integerDigits == 0) return fail("needs a digit before the point");
      inFraction = true;
      continue;
    }
    if (!IsDigit(c)) return fail("unexpected '" + std::string(1, c) + "' at position " + std::to_string(position));
    magnitude = magnitude * 10 + static_cast<unsigned>(c - '0');
    if (magnitude > kMaxMagnitude) return fail("magnitude exceeds 96 bits");
    ++(inFraction ? fractionDigits : integerDigits);
  }
  if (integerDigits == 0) return fail("has no digits");
  if (inFraction && fractionDigits == 0) return fail("needs a digit after the point");
  if (fractionDigits > kMaxDecimalScale) {
    return fail(std::to_string(fractionDigits) + " digits after the point, at most " +
                std::to_string(kMaxDecimalScale) + " are allowed");
  }
  bcl::Decimal number;
  number.set_lo(static_cast<std::uint64_t>(magnitude));
  number.set_hi(static_cast<std::uint32_t>(magnitude >> 64));
  number.set_signscale(static_cast<std::uint32_t>(fractionDigits) << kScaleShift |
                       (negative ? kSignBit : 0));
  return Result<bcl::Decimal>::Success(number);
}

}  // namespace vrex::data
