#include "ProcessResources.h"

#include <malloc.h>

#include <cstddef>

// GCC says which sanitizer is on by a macro, Clang by __has_feature.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VREX_SANITIZER_ALLOCATOR 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VREX_SANITIZER_ALLOCATOR 1
#endif
#endif
#ifdef VREX_SANITIZER_ALLOCATOR
// Part of every sanitizer runtime; GCC ships no header that declares it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace vrex::testing {

std::size_t HeapBytesInUse() {
#ifdef VREX_SANITIZER_ALLOCATOR
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;  // small chunks in use and mapped large ones
#endif
}

}  // namespace vrex::testing
