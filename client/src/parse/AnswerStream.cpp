#include "parse/AnswerStream.h"

#include <google/protobuf/io/zero_copy_stream_impl.h>
#include <google/protobuf/message.h>

#include <deque>
#include <limits>
#include <vector>

#include "parse/AnswerParser.h"
#include "parse/BodyBuffer.h"
#include "parse/FieldBoundaries.h"
#include "parse/SliceRules.h"
#include "parse/SliceRun.h"

namespace vrex::internal {

namespace {

// Room for the chunks that arrive after a slice's last field ends.
constexpr std::size_t kChunkRoom = 64 * 1024;

bool ParsePieces(const std::vector<std::string_view>& pieces, google::protobuf::Message& answer) {
  if (pieces.size() == 1) {
    return answer.ParseFromArray(pieces.front().data(), static_cast<int>(pieces.front().size()));
  }
  std::deque<google::protobuf::io::ArrayInputStream> arrays;
  std::vector<google::protobuf::io::ZeroCopyInputStream*> streams;
  for (const std::string_view piece : pieces) {
    streams.push_back(&arrays.emplace_back(piece.data(), static_cast<int>(piece.size())));
  }
  google::protobuf::io::ConcatenatingInputStream all(streams.data(),
                                                     static_cast<int>(streams.size()));
  return answer.ParseFromZeroCopyStream(&all);
}

}  // namespace

AnswerStream::AnswerStream(AnswerParser& parser, google::protobuf::Message& answer)
    : parser_(parser), answer_(answer) {}

AnswerStream::~AnswerStream() = default;

void AnswerStream::Reset() {
  run_.reset();  // first: its threads may still read the bytes
  unannounced_ = BodyBuffer(0);
  std::string().swap(joined_);
  boundaries_.reset();
  rules_.reset();
  std::string().swap(unsliced_);
  whole_.reset();
  received_ = 0;
  undecided_ = true;
}

void AnswerStream::Feed(std::string_view chunk, std::uint64_t expectedSize) {
  // An answer that does not announce its size may never end: its slices
  // would be parsed (and cost several times their bytes) before the size
  // limit stops it. It is held in blocks and parsed once complete.
  if (expectedSize == 0) {
    unannounced_.Append(chunk);
    return;
  }
  unsliced_.append(chunk);
  received_ += chunk.size();
  CutSlices(expectedSize != 0 ? expectedSize : received_);
}

void AnswerStream::FeedWhole(std::string_view body) {
  whole_ = body;
  received_ = body.size();
  CutSlices(body.size());
}

std::string_view AnswerStream::Unsliced() const { return whole_ ? *whole_ : unsliced_; }

void AnswerStream::CutSlices(std::uint64_t answerBytes) {
  if (!StartSlicing(answerBytes)) {
    return;
  }
  while (boundaries_->Cuttable()) {
    const std::size_t end = boundaries_->Advance(Unsliced(), sliceBytes_);
    if (end < sliceBytes_) {
      return;
    }
    CutUnsliced(end);
  }
}

// Decides once the size allows it: an answer announced as small, or one of a
// type that cannot be sliced, is parsed in one piece.
bool AnswerStream::StartSlicing(std::uint64_t answerBytes) {
  if (!undecided_) {
    return run_ != nullptr;
  }
  const std::size_t sliceBytes = parser_.SliceBytes(static_cast<std::size_t>(
      std::min<std::uint64_t>(answerBytes, std::numeric_limits<std::size_t>::max())));
  if (sliceBytes == 0) {
    // Too small: for good when the length was announced, else for now.
    undecided_ = answerBytes == received_;
    return false;
  }
  undecided_ = false;
  rules_ = std::make_unique<SliceRules>(answer_);
  if (!rules_->TypeAllowsSlices()) {
    return false;
  }
  sliceBytes_ = sliceBytes;
  boundaries_ = std::make_unique<FieldBoundaries>(*rules_);
  run_ = std::make_unique<SliceRun>(parser_.Pool(), parser_.Threads() - 1, answer_);
  if (!whole_) {
    unsliced_.reserve(sliceBytes_ + kChunkRoom);
  }
  return true;
}

void AnswerStream::CutUnsliced(std::size_t end) {
  boundaries_->Cut();
  if (whole_) {
    run_->AddView(whole_->substr(0, end));
    whole_->remove_prefix(end);
    return;
  }
  std::string slice = std::move(unsliced_);
  unsliced_.reserve(sliceBytes_ + kChunkRoom);
  unsliced_.assign(slice, end);
  slice.resize(end);
  run_->Add(std::move(slice));
}

bool AnswerStream::Finish() {
  joinedSlices_ = 0;
  if (unannounced_.Size() > 0) {
    joined_ = unannounced_.Take();
    FeedWhole(joined_);
  }
  if (run_ == nullptr) {
    return ParseInOnePiece();
  }
  const std::string_view rest = Unsliced();
  if (boundaries_->Advance(rest, std::numeric_limits<std::size_t>::max()) != rest.size() ||
      !boundaries_->Cuttable()) {
    return ParseInOnePiece();  // the protobuf parser alone tells what these bytes are
  }
  if (!rest.empty()) {
    CutUnsliced(rest.size());
  }
  joinedSlices_ = run_->Count();
  return run_->Finish();
}

bool AnswerStream::ParseInOnePiece() {
  std::vector<std::string_view> pieces;
  if (run_ != nullptr) {
    run_->Cancel();
    pieces = run_->Bytes();
  }
  pieces.push_back(Unsliced());
  return ParsePieces(pieces, answer_);
}

}  // namespace vrex::internal
