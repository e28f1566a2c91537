#include "parse/FieldBoundaries.h"

#include <cstdint>
#include <limits>

namespace vrex::internal {

namespace {

enum class Read { Done, NeedMore, Malformed };

// One base-128 number of at most `maxBytes` bytes at `position`, which moves
// behind it.
Read ReadVarint(std::string_view bytes, std::size_t& position, int maxBytes, std::uint64_t& value) {
  value = 0;
  for (int index = 0; index < maxBytes; ++index) {
    if (position + static_cast<std::size_t>(index) >= bytes.size()) {
      return Read::NeedMore;
    }
    const auto byte = static_cast<std::uint8_t>(bytes[position + static_cast<std::size_t>(index)]);
    value |= static_cast<std::uint64_t>(byte & 0x7f) << (7 * index);
    if ((byte & 0x80) == 0) {
      position += static_cast<std::size_t>(index) + 1;
      return Read::Done;
    }
  }
  return Read::Malformed;
}

// Limits the protobuf parser applies: a tag takes at most 5 bytes, of which
// it keeps the low 32 bits; a value at most 10 bytes; a length fits 31 bits.
constexpr int kTagBytes = 5;
constexpr std::uint64_t kTagBits = std::numeric_limits<std::uint32_t>::max();
constexpr int kVarintBytes = 10;
constexpr int kLengthBytes = 5;
constexpr std::uint64_t kMaxLength = std::numeric_limits<std::int32_t>::max();

enum WireType : std::uint64_t { kVarint = 0, kFixed64 = 1, kLengthDelimited = 2, kFixed32 = 5 };

// The end of the field whose head is at `position`, or why there is none yet.
Read FieldEnd(std::string_view bytes, std::size_t position, std::uint64_t& tag, std::size_t& end) {
  // A tag of field 0 passes: the slice's parse refuses it, as the parse in
  // one piece does. Bits of a 5-byte tag beyond 32 are dropped, as protobuf
  // drops them, so a field is the same field here as there.
  Read read = ReadVarint(bytes, position, kTagBytes, tag);
  if (read != Read::Done) {
    return read;
  }
  tag &= kTagBits;
  std::uint64_t value = 0;
  switch (tag & 7) {
    case kVarint:
      read = ReadVarint(bytes, position, kVarintBytes, value);
      end = position;
      return read;
    case kFixed64:
      end = position + 8;
      return Read::Done;
    case kFixed32:
      end = position + 4;
      return Read::Done;
    case kLengthDelimited:
      read = ReadVarint(bytes, position, kLengthBytes, value);
      if (read == Read::Done && value > kMaxLength) {
        return Read::Malformed;
      }
      end = position + static_cast<std::size_t>(value);
      return read;
    default:  // groups, and the two wire types that do not exist
      return Read::Malformed;
  }
}

}  // namespace

std::size_t FieldBoundaries::Advance(std::string_view bytes, std::size_t atLeast) {
  while (cuttable_ && offset_ < atLeast) {
    std::uint64_t tag = 0;
    std::size_t end = 0;
    const Read read = FieldEnd(bytes, offset_, tag, end);
    if (read == Read::NeedMore || (read == Read::Done && end > bytes.size())) {
      break;
    }
    if (read == Read::Malformed || !rules_.Note(static_cast<std::uint32_t>(tag >> 3))) {
      cuttable_ = false;
      break;
    }
    offset_ = end;
  }
  return offset_;
}

}  // namespace vrex::internal
