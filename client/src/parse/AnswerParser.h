#pragma once
// How a client parses answers (ParseOptions): small ones in one piece, large
// ones in slices on several threads. A client's copies share one parser, and
// with it one pool of threads, started when the first answer is sliced or
// the first asynchronous call parses.

#include <cstddef>
#include <memory>
#include <mutex>

#include "vrex/ClientOptions.h"

namespace vrex::internal {

class ParsePool;

class AnswerParser {
 public:
  explicit AnswerParser(const ParseOptions& options);
  ~AnswerParser();
  AnswerParser(const AnswerParser&) = delete;
  AnswerParser& operator=(const AnswerParser&) = delete;

  /// Threads per answer, the caller's included; at least 1.
  unsigned Threads() const { return threads_; }
  /// How many bytes of an answer that is `answerBytes` long go into one
  /// slice, or none (0) when such an answer is parsed in one piece.
  std::size_t SliceBytes(std::size_t answerBytes) const;
  /// The pool; its threads start on first use. It has Threads() threads,
  /// one even when answers are parsed in one piece: an asynchronous call's
  /// answer is finished on one of them, which then parses slices beside
  /// Threads() - 1 others as the calling thread of Send does.
  ParsePool& Pool();

 private:
  std::size_t parallelFrom_;
  unsigned threads_;
  std::once_flag poolStarted_;
  std::unique_ptr<ParsePool> pool_;
};

}  // namespace vrex::internal
