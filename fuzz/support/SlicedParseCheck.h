#pragma once
// Parses an answer body the way vrex::Client does for large answers, in
// slices on several threads, and checks it against a parse in one piece.
//
// "Holds" means: every way below says the body parses exactly when
// ParseFromString says so, and then gives the same message (compared by
// the deterministic encoding, which writes map entries in key order). The
// ways, each with three parsing threads and every answer sliced:
//   - the whole body at once, onto the heap;
//   - in chunks of `chunkBytes` of unannounced length, onto an arena;
//   - in chunks of `chunkBytes` with the length announced, onto the heap.

#include <cstddef>
#include <string_view>

#include "CheckResult.h"

namespace google::protobuf {
class Descriptor;
}

namespace vrex::fuzz {

struct SlicedParse {
  CheckResult check;
  std::size_t mostSlices = 0;  ///< the most slices any way joined
};

SlicedParse CheckSlicedParse(const google::protobuf::Descriptor& type, std::string_view body,
                             std::size_t chunkBytes);

}  // namespace vrex::fuzz
