#pragma once
// The arenas of one client's answers. Each answer gets an arena of its own,
// which its Result keeps alive, so the answer may outlive the call, the
// client and any later answer. Their blocks come from the BlockRecycler: the
// client reserves there the size of the largest answer it has parsed so far,
// so the next large answer is parsed into memory already mapped and touched.
// The reservation ends with the client and the last of its answers.

#include <google/protobuf/arena.h>

#include <cstdint>
#include <memory>
#include <mutex>

namespace vrex::internal {

/// Options of an arena whose blocks come from the recycler and go back to
/// it: `firstBlockBytes` the first, growing to at most `maxBlockBytes`.
google::protobuf::ArenaOptions RecycledBlocks(std::size_t firstBlockBytes,
                                              std::size_t maxBlockBytes);

class WarmArenas : public std::enable_shared_from_this<WarmArenas> {
 public:
  WarmArenas() = default;
  /// Gives up the reservation.
  ~WarmArenas();
  WarmArenas(const WarmArenas&) = delete;
  WarmArenas& operator=(const WarmArenas&) = delete;

  /// An arena for one answer; when the last owner lets it go, the client's
  /// reservation grows to what it took, and its blocks go to the recycler.
  std::shared_ptr<google::protobuf::Arena> New();

 private:
  struct OneAnswer;  // an arena and the client it reports to
  void ReserveUpTo(std::uint64_t bytes);

  std::mutex mutex_;
  std::uint64_t reservedBytes_ = 0;  // the largest answer so far
};

}  // namespace vrex::internal
