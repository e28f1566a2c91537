#pragma once
// Warm memory for an application that reads large answers again and again.
//
//   vrex::AnswerArena warm;
//   for (;;) {
//     auto measurements = client.Send(query, warm.Next());  // frees the last answer
//     if (measurements) Show(*measurements);                // valid until the next Next()
//   }
//
// An answer of millions of small messages (a MeasurementContainer full of
// vector points) spends most of its parse allocating them. On an arena whose
// memory is fresh each time, every page is first faulted in and zeroed by the
// kernel, so it parses little faster than on the heap; on memory that stays
// mapped it parses several times faster (docs/benchmarks.md). An AnswerArena
// keeps the blocks of the largest answer it held for the next one, on every
// thread that parses, without any setting of the C library's allocator.
//
// Use it for repeated large reads whose answer is done with before the next
// call: dashboards, exports, analyses that page through results. The price
// is memory: the size of the largest answer so far stays taken between calls
// until the AnswerArena is destroyed. Not for small answers (nothing to gain)
// nor for answers kept past the next call (use Send without an arena, or
// copy out what you keep).

#include <google/protobuf/arena.h>

#include <cstdint>
#include <memory>

#include "vrex/Export.h"

namespace vrex {

class VREX_EXPORT AnswerArena {
 public:
  AnswerArena();
  /// Frees every answer and the memory kept for the next one.
  ~AnswerArena();
  AnswerArena(const AnswerArena&) = delete;
  AnswerArena& operator=(const AnswerArena&) = delete;

  /// The arena for the next answer. Destroys every message of the previous
  /// answers, which must no longer be in use, and keeps their memory for it.
  google::protobuf::Arena& Next();

  /// Memory kept for the next answer: what the largest answer so far took.
  std::uint64_t KeptBytes() const { return keptBytes_; }

 private:
  std::unique_ptr<google::protobuf::Arena> arena_;
  std::uint64_t keptBytes_ = 0;
};

}  // namespace vrex
