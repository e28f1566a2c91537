#pragma once
// Arena blocks kept between answers, so that the next answer is parsed into
// memory that is already mapped and touched instead of pages fresh from the
// kernel. Protobuf calls the block functions of ArenaOptions without any
// context, from whichever thread allocates, so the recycler is one for the
// process. What it keeps is bounded by what the live AnswerArenas reserved:
// each the size of the largest answer it held.

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

namespace vrex::internal {

class BlockRecycler {
 public:
  static BlockRecycler& Instance();

  /// For ArenaOptions::block_alloc: a kept block of this size, else a new one.
  static void* Allocate(std::size_t bytes);
  /// For ArenaOptions::block_dealloc: kept while the reservations allow.
  static void Free(void* block, std::size_t bytes);

  /// Raises the bound of what is kept by `bytes`.
  void Reserve(std::uint64_t bytes);
  /// Lowers it again, freeing what no longer fits.
  void Unreserve(std::uint64_t bytes);
  /// Bytes in blocks kept right now.
  std::uint64_t KeptBytes() const;

 private:
  BlockRecycler() = default;
  void* Take(std::size_t bytes);
  void Keep(void* block, std::size_t bytes);
  void FreeBeyondReserved();  // with mutex_ held

  mutable std::mutex mutex_;
  std::multimap<std::size_t, void*> blocks_;  // by size
  std::uint64_t keptBytes_ = 0;
  std::uint64_t reservedBytes_ = 0;
};

}  // namespace vrex::internal
