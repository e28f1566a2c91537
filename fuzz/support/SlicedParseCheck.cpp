#include "SlicedParseCheck.h"

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <algorithm>
#include <memory>
#include <string>

#include "parse/AnswerParser.h"
#include "parse/AnswerStream.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::fuzz {

namespace {

using google::protobuf::Message;

enum class Way { WholeOnHeap, ChunksOnArena, AnnouncedChunksOnHeap };

constexpr Way kWays[] = {Way::WholeOnHeap, Way::ChunksOnArena, Way::AnnouncedChunksOnHeap};

const char* Name(Way way) {
  switch (way) {
    case Way::WholeOnHeap:
      return "the whole body on the heap";
    case Way::ChunksOnArena:
      return "chunks on an arena";
    case Way::AnnouncedChunksOnHeap:
      return "chunks of an announced length on the heap";
  }
  return "";
}

// One parser for the process: its threads start once.
internal::AnswerParser& SlicingParser() {
  static internal::AnswerParser parser(ParseOptions{0, 3});
  return parser;
}

// Parses `body` into `answer` the given way; `slices` tells how many slices it joined.
bool ParseSliced(Way way, std::string_view body, std::size_t chunkBytes, Message& answer,
                 std::size_t& slices) {
  internal::AnswerStream stream(SlicingParser(), answer);
  if (way == Way::WholeOnHeap) {
    stream.FeedWhole(body);
  }
  const std::uint64_t announced = way == Way::AnnouncedChunksOnHeap ? body.size() : 0;
  for (std::size_t offset = 0; way != Way::WholeOnHeap && offset < body.size();
       offset += chunkBytes) {
    stream.Feed(body.substr(offset, chunkBytes), announced);
  }
  const bool parsed = stream.Finish();
  slices = stream.JoinedSlices();
  return parsed;
}

}  // namespace

SlicedParse CheckSlicedParse(const google::protobuf::Descriptor& type, std::string_view body,
                             std::size_t chunkBytes) {
  const Message& prototype =
      *google::protobuf::MessageFactory::generated_factory()->GetPrototype(&type);
  const std::unique_ptr<Message> whole(prototype.New());
  const bool accepted = whole->ParseFromArray(body.data(), static_cast<int>(body.size()));
  const std::string expected = accepted ? stub::SerializeDeterministically(*whole) : std::string();
  SlicedParse result{{accepted, {}}};
  for (const Way way : kWays) {
    google::protobuf::Arena arena;
    const std::unique_ptr<Message> onHeap(prototype.New());
    Message& answer = way == Way::ChunksOnArena ? *prototype.New(&arena) : *onHeap;
    std::size_t slices = 0;
    const bool parsed =
        ParseSliced(way, body, std::max<std::size_t>(chunkBytes, 1), answer, slices);
    result.mostSlices = std::max(result.mostSlices, slices);
    if (parsed != accepted) {
      result.check.problem = type.name() + ": in " + Name(way) + " the body " +
                             (parsed ? "parses" : "does not parse") + ", in one piece it " +
                             (accepted ? "does" : "does not");
    } else if (accepted && stub::SerializeDeterministically(answer) != expected) {
      result.check.problem = type.name() + ": " + Name(way) + " give another message";
    }
    if (!result.check.Holds()) break;
  }
  return result;
}

}  // namespace vrex::fuzz
