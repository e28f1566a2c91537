#include "vrex/AnswerArena.h"

#include "parse/BlockRecycler.h"

namespace vrex {

namespace {

// One size for all blocks, so any kept block serves any thread's next request.
constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

google::protobuf::ArenaOptions WarmBlocks() {
  google::protobuf::ArenaOptions options;
  options.start_block_size = kBlockBytes;
  options.max_block_size = kBlockBytes;
  options.block_alloc = &internal::BlockRecycler::Allocate;
  options.block_dealloc = &internal::BlockRecycler::Free;
  return options;
}

}  // namespace

AnswerArena::AnswerArena() : arena_(std::make_unique<google::protobuf::Arena>(WarmBlocks())) {}

AnswerArena::~AnswerArena() {
  arena_.reset();
  internal::BlockRecycler::Instance().Unreserve(keptBytes_);
}

google::protobuf::Arena& AnswerArena::Next() {
  const std::uint64_t used = arena_->SpaceAllocated();
  if (used > keptBytes_) {
    internal::BlockRecycler::Instance().Reserve(used - keptBytes_);
    keptBytes_ = used;
  }
  arena_->Reset();  // the blocks go to the recycler, within what is reserved
  return *arena_;
}

}  // namespace vrex
