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

// One allocation for the arena and its owners' count. The reservation grows
// before the arena frees its blocks, so that the recycler keeps them.
struct WarmArenas::OneAnswer {
  explicit OneAnswer(std::shared_ptr<WarmArenas> client)
      : arena(RecycledBlocks(kFirstBlockBytes, kLargestBlockBytes)), client(std::move(client)) {}
  ~OneAnswer() { client->ReserveUpTo(arena.SpaceAllocated()); }
  OneAnswer(const OneAnswer&) = delete;
  OneAnswer& operator=(const OneAnswer&) = delete;

  google::protobuf::Arena arena;
  std::shared_ptr<WarmArenas> client;
};

std::shared_ptr<google::protobuf::Arena> WarmArenas::New() {
  auto answer = std::make_shared<OneAnswer>(shared_from_this());
  return std::shared_ptr<google::protobuf::Arena>(answer, &answer->arena);
}

void WarmArenas::ReserveUpTo(std::uint64_t bytes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (bytes > reservedBytes_) {
    BlockRecycler::Instance().Reserve(bytes - reservedBytes_);
    reservedBytes_ = bytes;
  }
}

}  // namespace vrex::internal
