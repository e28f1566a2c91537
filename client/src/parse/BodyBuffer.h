#pragma once
// The body of an answer while it arrives, within a size limit, grown without
// copying what already arrived: a body of announced length is kept in one
// block of exactly that size; one of unknown length in blocks that are joined
// once, when it is complete. Memory then stays near the body's size even when
// a server sends without end until the limit stops it.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vrex::internal {

class BodyBuffer {
 public:
  /// `limit` 0: no limit.
  explicit BodyBuffer(std::uint64_t limit) : limit_(limit) {}

  /// Prepares one block for a body announced as `length` bytes; the caller
  /// has checked it against the limit.
  void ExpectLength(std::uint64_t length);
  /// Appends `bytes`; false, appending nothing, when the body would pass the
  /// limit. Throws std::bad_alloc when memory runs out.
  bool Append(std::string_view bytes);
  /// Whether a body of `length` bytes fits the limit.
  bool Fits(std::uint64_t length) const { return limit_ == 0 || length <= limit_; }
  std::uint64_t Size() const { return size_; }
  std::uint64_t Limit() const { return limit_; }
  /// The whole body; the buffer is empty afterwards.
  std::string Take();

 private:
  static constexpr std::size_t kBlockSize = std::size_t{1} << 20;

  std::uint64_t limit_;
  std::uint64_t size_ = 0;
  std::vector<std::string> blocks_;  // each filled to its capacity but the last
};

}  // namespace vrex::internal
