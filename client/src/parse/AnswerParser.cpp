#include "parse/AnswerParser.h"

#include <algorithm>
#include <thread>

#include "parse/ParsePool.h"

namespace vrex::internal {

namespace {

// More slices than threads even out slices of uneven cost and let parsing
// start while the answer still arrives.
constexpr std::size_t kSlicesPerThread = 4;
// The bound keeps a slice's buffer modest whatever length a server announces.
constexpr std::size_t kMaxSliceBytes = std::size_t{16} << 20;

unsigned ThreadsFor(const ParseOptions& options) {
  const unsigned threads =
      options.threads != 0 ? options.threads : std::thread::hardware_concurrency();
  return std::max(threads, 1U);
}

}  // namespace

AnswerParser::AnswerParser(const ParseOptions& options)
    : parallelFrom_(options.parallelFrom), threads_(ThreadsFor(options)) {}

AnswerParser::~AnswerParser() = default;

std::size_t AnswerParser::SliceBytes(std::size_t answerBytes) const {
  if (threads_ < 2 || answerBytes < parallelFrom_) {
    return 0;
  }
  return std::clamp<std::size_t>(answerBytes / (threads_ * kSlicesPerThread), 1, kMaxSliceBytes);
}

ParsePool& AnswerParser::Pool() {
  std::call_once(poolStarted_, [this] { pool_ = std::make_unique<ParsePool>(threads_); });
  return *pool_;
}

}  // namespace vrex::internal
