#include "parse/WarmArenas.h"

#include "parse/BlockRecycler.h"

namespace vrex::internal {

namespace {

// Small answers take a small first block; large ones grow to blocks of a
// size that repeats, so kept blocks serve the next answer.
constexpr std::size_t kFirstBlockBytes = std::size_t{4} << 10;
constexpr std::size_t kLargestBlockBytes = std::size_t{1} << 20;

}  // namespace

google::protobuf::ArenaOptions RecycledBlocks(std::size_t firstBlockBytes,
                                              std::size_t maxBlockBytes) {
  google::protobuf::ArenaOptions options;
  options.start_block_size = firstBlockBytes;
  options.max_block_size = maxBlockBytes;
  options.block_alloc = &BlockRecycler::Allocate;
  options.block_dealloc = &BlockRecycler::Free;
  return options;
}

WarmArenas::~WarmArenas() { BlockRecycler::Instance().Unreserve(reservedBytes_); }

std::shared_ptr<google::protobuf::Arena> WarmArenas::New() {
  return std::shared_ptr<google::protobuf::Arena>(
      new google::protobuf::Arena(RecycledBlocks(kFirstBlockBytes, kLargestBlockBytes)),
      [self = shared_from_this()](google::protobuf::Arena* arena) { self->Release(arena); });
}

void WarmArenas::Release(google::protobuf::Arena* arena) {
  const std::uint64_t used = arena->SpaceAllocated();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (used > reservedBytes_) {
      BlockRecycler::Instance().Reserve(used - reservedBytes_);
      reservedBytes_ = used;
    }
  }
  delete arena;  // its blocks go to the recycler, within what is reserved
}

}  // namespace vrex::internal
