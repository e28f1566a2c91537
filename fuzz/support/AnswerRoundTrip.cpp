#include "AnswerRoundTrip.h"

#include <memory>
#include <string>

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include "vrex/stub/CannedAnswer.h"

namespace vrex::fuzz {

namespace {

using google::protobuf::Message;

const Message& Prototype(const google::protobuf::Descriptor& type) {
  return *google::protobuf::MessageFactory::generated_factory()->GetPrototype(&type);
}

// VrexClient::Post: a message on the heap, the body given as a pointer and an int.
bool ParseAsPost(std::string_view body, Message& answer) {
  return answer.ParseFromArray(body.data(), static_cast<int>(body.size()));
}

// vrex::Client: the body collected in a string, the message possibly on an arena.
bool ParseAsSessionClient(std::string_view body, Message& answer) {
  return answer.ParseFromString(std::string(body));
}

CheckResult Problem(std::string text) { return {true, std::move(text)}; }

}  // namespace

CheckResult CheckAnswerRoundTrip(const google::protobuf::Descriptor& type, std::string_view body) {
  const Message& prototype = Prototype(type);
  const std::unique_ptr<Message> onHeap(prototype.New());
  google::protobuf::Arena arena;
  Message* onArena = prototype.New(&arena);

  const bool heapParsed = ParseAsPost(body, *onHeap);
  if (heapParsed != ParseAsSessionClient(body, *onArena)) {
    return Problem(type.name() + ": heap and arena parses disagree on whether the body is valid");
  }
  if (!heapParsed) {
    return {false, {}};
  }

  const std::string first = stub::SerializeDeterministically(*onHeap);
  if (first.size() != onHeap->ByteSizeLong()) {
    return Problem(type.name() + ": ByteSizeLong differs from the encoded size");
  }
  if (stub::SerializeDeterministically(*onArena) != first) {
    return Problem(type.name() + ": heap and arena parses give different messages");
  }
  const std::unique_ptr<Message> again(prototype.New());
  if (!ParseAsPost(first, *again)) {
    return Problem(type.name() + ": the message's own encoding does not parse");
  }
  if (stub::SerializeDeterministically(*again) != first) {
    return Problem(type.name() + ": the encoding changes on a second round trip");
  }
  return {true, {}};
}

}  // namespace vrex::fuzz
