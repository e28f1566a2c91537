#include "vrex/AnswerArena.h"

#include "parse/BlockRecycler.h"
#include "parse/WarmArenas.h"

namespace vrex {

namespace {

// One size for all blocks, so any kept block serves any thread's next request.
constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

}  // namespace

AnswerArena::AnswerArena()
    : arena_(std::make_unique<google::protobuf::Arena>(
          internal::RecycledBlocks(kBlockBytes, kBlockBytes))) {}

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
