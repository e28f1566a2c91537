#pragma once
// Finds the ends of the top-level fields of a message's encoding as its bytes
// arrive: the places where it may be cut into slices that are each a valid
// encoding of the same message type. Only the field heads are read; a
// length-delimited field is skipped whole.
//
// Anything whose end this walk cannot know for certain makes the bytes
// uncuttable: a malformed head, a group, a length beyond 2 GiB, or a field
// SliceRules refuses. They are then parsed in one piece, and the protobuf
// parser alone decides what they are.

#include <cstddef>
#include <string_view>

#include "parse/SliceRules.h"

namespace vrex::internal {

class FieldBoundaries {
 public:
  explicit FieldBoundaries(SliceRules& rules) : rules_(rules) {}

  /// Walks on over the complete fields of `bytes`, which start at a field
  /// boundary and grow between calls, until at least `atLeast` bytes lie
  /// behind or no complete field follows. Returns the offset reached, always
  /// a field boundary.
  std::size_t Advance(std::string_view bytes, std::size_t atLeast);
  /// The caller cut off the bytes before the offset Advance returned: the
  /// next call starts at the start of what remains.
  void Cut() { offset_ = 0; }
  /// False once the bytes cannot be cut anywhere.
  bool Cuttable() const { return cuttable_; }

 private:
  SliceRules& rules_;
  std::size_t offset_ = 0;
  bool cuttable_ = true;
};

}  // namespace vrex::internal
