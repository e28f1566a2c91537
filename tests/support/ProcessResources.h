#pragma once
// The heap the process holds right now, for tests of what calls and arenas
// keep behind.

#include <cstddef>

namespace vrex::testing {

/// Heap bytes allocated and not yet freed, by the sanitizer's allocator in a
/// sanitizer build and by the C library's otherwise.
std::size_t HeapBytesInUse();

}  // namespace vrex::testing
