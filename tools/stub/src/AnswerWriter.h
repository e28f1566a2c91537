#pragma once
// What goes on the wire for one answer, piece by piece. A connection waits
// out each piece's pause, writes its bytes and asks for the next one, so an
// endless or paced delivery needs no more memory than its answer.

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub {

struct AnswerPiece {
  std::chrono::milliseconds pause{0};     ///< silence before the bytes
  std::array<std::string_view, 3> bytes;  ///< sent in this order; views into the stream
};

class AnswerWriter {
 public:
  /// `keepAlive`: the client lets the connection serve further requests.
  AnswerWriter(std::shared_ptr<const CannedAnswer> answer, bool keepAlive);

  /// The next piece; nothing once the answer is complete.
  std::optional<AnswerPiece> Next();
  /// Whether the connection closes once the last piece is out.
  bool ClosesConnection() const { return closes_; }

 private:
  std::shared_ptr<const CannedAnswer> answer_;
  bool closes_;
  std::string head_;       // status line and headers
  std::string chunkSize_;  // the size line of each chunk
  std::uint64_t chunks_ = 0;
  std::uint64_t next_ = 0;  // index of the next piece
};

}  // namespace vrex::stub
