#pragma once
// Parses an answer while it arrives. The body is kept as it comes; once the
// answer is known to be large (ParseOptions), it is cut at top-level field
// boundaries into slices that the client's parsing threads parse at once,
// and Finish parses what is left and joins the slices. Whatever the bytes,
// the outcome is that of one answer.ParseFromString over all of them.
//
//   AnswerStream stream(parser, answer);
//   for each attempt: stream.Reset(), then stream.Feed(chunk, length)...
//   bool parsed = stream.Finish();
//
// One thread at a time feeds a stream; the answer must not be touched until
// Finish returns.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "parse/BodyBuffer.h"

namespace google::protobuf {
class Message;
}

namespace vrex::internal {

class AnswerParser;
class FieldBoundaries;
class SliceRules;
class SliceRun;

class AnswerStream {
 public:
  AnswerStream(AnswerParser& parser, google::protobuf::Message& answer);
  /// Waits for the slices still being parsed.
  ~AnswerStream();
  AnswerStream(const AnswerStream&) = delete;
  AnswerStream& operator=(const AnswerStream&) = delete;

  /// Forgets every byte fed so far, so that a new attempt starts afresh.
  void Reset();
  /// The next piece of the body. `expectedSize`: the length of the whole
  /// body as announced, 0 when unknown.
  void Feed(std::string_view chunk, std::uint64_t expectedSize = 0);
  /// The whole body at once, not copied: it must stay unchanged until
  /// Finish returns.
  void FeedWhole(std::string_view body);
  /// Parses the rest and joins: true exactly when answer.ParseFromString
  /// over all bytes fed would be, and then the answer is the same message.
  /// On false the answer holds what the parser left, or nothing.
  bool Finish();
  /// How many slices the last Finish joined; 0 when it parsed in one piece.
  std::size_t JoinedSlices() const { return joinedSlices_; }

 private:
  std::string_view Unsliced() const;
  void CutSlices(std::uint64_t answerBytes);
  bool StartSlicing(std::uint64_t answerBytes);
  void CutUnsliced(std::size_t end);
  bool ParseInOnePiece();

  AnswerParser& parser_;
  google::protobuf::Message& answer_;
  BodyBuffer unannounced_{0};              // an answer of unknown size, until Finish
  std::string joined_;                     // the same, joined for parsing
  std::string unsliced_;                   // bytes fed and not yet in a slice
  std::optional<std::string_view> whole_;  // the body given by FeedWhole
  std::uint64_t received_ = 0;
  bool undecided_ = true;  // whether to slice: decided once the size says
  std::size_t sliceBytes_ = 0;
  std::size_t joinedSlices_ = 0;
  std::unique_ptr<SliceRules> rules_;
  std::unique_ptr<FieldBoundaries> boundaries_;
  std::unique_ptr<SliceRun> run_;
};

}  // namespace vrex::internal
