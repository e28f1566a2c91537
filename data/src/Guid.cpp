#include "vrex/data/Guid.h"

#include <cstddef>

namespace vrex::data {
namespace {

constexpr std::size_t kTextLength = 36;
constexpr std::size_t kHyphens[] = {8, 13, 18, 23};

// Position in the byte form of the i-th byte as the text writes it: the
// first three groups are reversed. The permutation is its own inverse.
constexpr std::size_t kByteOfText[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

std::uint64_t ReadLittleEndian(const GuidBytes& bytes, std::size_t first) {
  std::uint64_t number = 0;
  for (std::size_t i = 8; i-- > 0;) number = number << 8 | bytes[first + i];
  return number;
}

void WriteLittleEndian(std::uint64_t number, GuidBytes& bytes, std::size_t first) {
  for (std::size_t i = 0; i < 8; ++i) bytes[first + i] = static_cast<std::uint8_t>(number >> (8 * i));
}

bool IsHyphenPosition(std::size_t position) {
  for (std::size_t hyphen : kHyphens) {
    if (position == hyphen) return true;
  }
  return false;
}

int HexDigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

}  // namespace

GuidBytes GuidToBytes(const bcl::Guid& guid) {
  GuidBytes bytes{};
  WriteLittleEndian(guid.lo(), bytes, 0);
  WriteLittleEndian(guid.hi(), bytes, 8);
  return bytes;
}

bcl::Guid GuidFromBytes(const GuidBytes& bytes) {
  bcl::Guid guid;
  guid.set_lo(ReadLittleEndian(bytes, 0));
  guid.set_hi(ReadLittleEndian(bytes, 8));
  return guid;
}

std::string FormatGuid(const bcl::Guid& guid) {
  static constexpr char kDigits[] = "0123456789abcdef";
  const GuidBytes bytes = GuidToBytes(guid);
  std::string text;
  text.reserve(kTextLength);
  for (std::size_t i = 0; i < 16; ++i) {
    if (IsHyphenPosition(text.size())) text += '-';
    const std::uint8_t byte = bytes[kByteOfText[i]];
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

Result<bcl::Guid> ParseGuid(std::string_view text) {
  const std::string quoted = "identifier \"" + std::string(text) + "\": ";
  if (text.size() != kTextLength) {
    return Result<bcl::Guid>::Failure(quoted + "has " + std::to_string(text.size()) +
                                      " characters, the form 8-4-4-4-12 has 36");
  }
  GuidBytes bytes{};
  std::size_t digits = 0;
  for (std::size_t position = 0; position < kTextLength; ++position) {
    const char c = text[position];
    if (IsHyphenPosition(position)) {
      if (c != '-') {
        return Result<bcl::Guid>::Failure(quoted + "expected '-' at position " +
                                          std::to_string(position));
      }
      continue;
    }
    const int value = HexDigitValue(c);
    if (value < 0) {
      return Result<bcl::Guid>::Failure(quoted + "'" + std::string(1, c) + "' at position " +
                                        std::to_string(position) + " is no hexadecimal digit");
    }
    std::uint8_t& byte = bytes[kByteOfText[digits / 2]];
    byte = static_cast<std::uint8_t>(byte << 4 | value);
    ++digits;
  }
  return Result<bcl::Guid>::Success(GuidFromBytes(bytes));
}

}  // namespace vrex::data
