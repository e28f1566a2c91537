#include "SeedCorpus.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

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
  // Field 1 once more, as a message and as a number, each tag in 5 bytes with
  // bits beyond 32 that the parser drops.
  const std::string fiveByteTags("\x8a\x80\x80\x80\x70\x00\x88\x80\x80\x80\x70\x07", 12);
  for (std::size_t i = 0, plain = answerSeeds.size(); i < plain; ++i) {
    Seed& seed = answerSeeds[i];  // not used after the push_back, which may move it
    seed.bytes.insert(seed.bytes.begin() + 1, kChunkOf8Bytes);
    answerSeeds.push_back({"five-byte-tags-" + seed.name, seed.bytes + fiveByteTags});
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
