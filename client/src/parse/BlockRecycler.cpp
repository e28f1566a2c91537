#include "parse/BlockRecycler.h"

#include <iterator>
#include <new>

namespace vrex::internal {

BlockRecycler& BlockRecycler::Instance() {
  // Never destroyed: an arena may give its blocks back during static destruction.
  static auto* recycler = new BlockRecycler;
  return *recycler;
}

void* BlockRecycler::Allocate(std::size_t bytes) {
  void* block = Instance().Take(bytes);
  return block != nullptr ? block : ::operator new(bytes);
}

void BlockRecycler::Free(void* block, std::size_t bytes) { Instance().Keep(block, bytes); }

void* BlockRecycler::Take(std::size_t bytes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = blocks_.find(bytes);
  if (found == blocks_.end()) {
    return nullptr;
  }
  void* block = found->second;
  blocks_.erase(found);
  keptBytes_ -= bytes;
  return block;
}

void BlockRecycler::Keep(void* block, std::size_t bytes) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (keptBytes_ + bytes <= reservedBytes_) {
      blocks_.emplace(bytes, block);
      keptBytes_ += bytes;
      return;
    }
  }
  ::operator delete(block);
}

void BlockRecycler::Reserve(std::uint64_t bytes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  reservedBytes_ += bytes;
}

void BlockRecycler::Unreserve(std::uint64_t bytes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  reservedBytes_ -= bytes;
  FreeBeyondReserved();
}

std::uint64_t BlockRecycler::KeptBytes() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return keptBytes_;
}

void BlockRecycler::FreeBeyondReserved() {
  while (keptBytes_ > reservedBytes_) {
    // The largest first: fewest frees, and small blocks suit more requests.
    const auto largest = std::prev(blocks_.end());
    ::operator delete(largest->second);
    keptBytes_ -= largest->first;
    blocks_.erase(largest);
  }
}

}  // namespace vrex::internal
