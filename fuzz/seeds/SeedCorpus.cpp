#include "SeedCorpus.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/message.h>
#include <google/protobuf/wire_format_lite.h>

#include <memory>

#include "CatalogTypes.h"
#include "vrex/MessageJson.h"
#include "vrex/RequestCatalog.h"
#include "vrex/stub/AnswerLoader.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::fuzz {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::Message;

std::unique_ptr<Message> NewMessage(const Descriptor& type) {
  return std::unique_ptr<Message>(
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(&type)->New());
}

std::unique_ptr<Message> FilledMessage(const Descriptor& type, const SamplePlant& plant) {
  auto message = NewMessage(type);
  FillSample(*message, plant);
  return message;
}

std::string WithSelector(const TypeList& types, const Descriptor& type, std::string bytes) {
  return std::string(1, static_cast<char>(SelectorOf(types, type))) + std::move(bytes);
}

// The request as VrexClient::Post sends it: an empty message goes as "{}".
std::string HttpPost(const std::string& target, const std::string& body) {
  const bool empty = body.empty();
  const std::string sent = empty ? "{}" : body;
  return "POST " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/" +
         (empty ? "json" : "x-protobuf") +
         "\r\naccept: application/x-protobuf\r\nGatewayApiAuthentication: fuzz\r\n"
         "Content-Length: " +
         std::to_string(sent.size()) + "\r\n\r\n" + sent;
}

// `tag` in the longest form protobuf reads, 5 bytes, with bits beyond 32 set
// that the parser drops.
std::string FiveByteTag(std::uint32_t tag) {
  std::string bytes;
  for (int shift = 0; shift < 28; shift += 7) {
    bytes.push_back(static_cast<char>(((tag >> shift) & 0x7f) | 0x80));
  }
  bytes.push_back(static_cast<char>((tag >> 28) | 0x70));
  return bytes;
}

// The top-level fields of `encoding` again, each tag in 5 bytes.
std::string WithFiveByteTags(const std::string& encoding) {
  google::protobuf::io::CodedInputStream input(
      reinterpret_cast<const std::uint8_t*>(encoding.data()), static_cast<int>(encoding.size()));
  std::string rewritten;
  while (const std::uint32_t tag = input.ReadTag()) {
    const int valueStart = input.CurrentPosition();
    if (!google::protobuf::internal::WireFormatLite::SkipField(&input, tag)) {
      break;
    }
    rewritten += FiveByteTag(tag) + encoding.substr(static_cast<std::size_t>(valueStart),
                                                    static_cast<std::size_t>(input.CurrentPosition() - valueStart));
  }
  return rewritten;
}

}  // namespace

std::vector<Seed> AnswerSeeds(const std::filesystem::path& samplePlant, const SamplePlant& plant) {
  const TypeList& types = AnswerTypes();
  std::vector<Seed> seeds;
  const auto plantAnswers = stub::LoadAnswerDirectory(samplePlant);  // outlives the loop
  for (const auto& [requestType, answer] : plantAnswers.Value()) {
    const RequestInfo* request = FindRequest(requestType);
    const Descriptor* type = request != nullptr ? AnswerDescriptor(*request) : nullptr;
    if (type != nullptr) {
      seeds.push_back({"plant-" + requestType, WithSelector(types, *type, answer.body)});
    }
  }
  for (const Descriptor* type : types) {
    const std::string filled = stub::SerializeDeterministically(*FilledMessage(*type, plant));
    seeds.push_back({"filled-" + type->name(), WithSelector(types, *type, filled)});
    seeds.push_back({"empty-" + type->name(), WithSelector(types, *type, {})});
  }
  return seeds;
}

std::vector<Seed> SlicedParseSeeds(std::vector<Seed> answerSeeds) {
  constexpr char kChunkOf8Bytes = 7;
  const std::size_t plain = answerSeeds.size();
  answerSeeds.reserve(2 * plain);
  for (std::size_t i = 0; i < plain; ++i) {
    Seed& seed = answerSeeds[i];
    // The body once more behind itself, its tags in 5 bytes: a later
    // occurrence of a field must be read as the same field.
    Seed repeated{"five-byte-tags-" + seed.name,
                  seed.bytes + WithFiveByteTags(seed.bytes.substr(1))};
    seed.bytes.insert(seed.bytes.begin() + 1, kChunkOf8Bytes);
    repeated.bytes.insert(repeated.bytes.begin() + 1, kChunkOf8Bytes);
    answerSeeds.push_back(std::move(repeated));
  }
  return answerSeeds;
}

std::vector<Seed> JsonRequestSeeds(const SamplePlant& plant) {
  const TypeList& types = RequestTypes();
  std::vector<Seed> seeds;
  for (const Descriptor* type : types) {
    const auto json = MessageToJson(*FilledMessage(*type, plant), JsonLayout{false, false, false});
    if (json.Ok()) {
      seeds.push_back({"filled-" + type->name(), WithSelector(types, *type, json.Value())});
    }
    seeds.push_back({"empty-" + type->name(), WithSelector(types, *type, "{}")});
  }
  return seeds;
}

std::vector<Seed> StubRequestSeeds(const SamplePlant& plant) {
  std::vector<Seed> seeds;
  for (const Descriptor* type : RequestTypes()) {
    const std::string body = stub::SerializeDeterministically(*FilledMessage(*type, plant));
    seeds.push_back({"post-" + type->name(), HttpPost("/api/" + type->name(), body)});
  }
  const std::string version = HttpPost("/api/ApiVersionQuery", {});
  seeds.push_back({"chunked",
                   "POST /api/ApiVersionQuery HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                   "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n"});
  seeds.push_back({"two-on-one-connection", version + version});
  seeds.push_back({"get", "GET /api/ApiVersionQuery HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"});
  seeds.push_back({"unknown-type", HttpPost("/api/NoSuchQuery", {})});
  seeds.push_back({"other-path", HttpPost("/status?x=1", {})});
  return seeds;
}

}  // namespace vrex::fuzz
