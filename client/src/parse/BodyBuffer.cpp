#include "parse/BodyBuffer.h"

#include <algorithm>

namespace vrex::internal {

void BodyBuffer::ExpectLength(std::uint64_t length) {
  if (blocks_.empty() && length > 0) {
    blocks_.emplace_back().reserve(static_cast<std::size_t>(length));
  }
}

bool BodyBuffer::Append(std::string_view bytes) {
  if (!Fits(size_ + bytes.size())) {
    return false;
  }
  size_ += bytes.size();
  while (!bytes.empty()) {
    if (blocks_.empty() || blocks_.back().size() == blocks_.back().capacity()) {
      blocks_.emplace_back().reserve(kBlockSize);
    }
    std::string& block = blocks_.back();
    const std::size_t room = std::max<std::size_t>(block.capacity() - block.size(), 1);
    const std::size_t taken = std::min(room, bytes.size());
    block.append(bytes.data(), taken);
    bytes.remove_prefix(taken);
  }
  return true;
}

std::string BodyBuffer::Take() {
  std::string whole;
  if (blocks_.size() == 1) {
    whole = std::move(blocks_.front());
  } else if (!blocks_.empty()) {
    // Each block is freed as soon as it is copied, so the join needs little
    // more memory than the body.
    whole.reserve(static_cast<std::size_t>(size_));
    for (std::string& block : blocks_) {
      whole += block;
      std::string().swap(block);
    }
  }
  blocks_.clear();
  size_ = 0;
  return whole;
}

}  // namespace vrex::internal
