#include "SeedCorpus.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <memory>
#include <set>

#include "CatalogTypes.h"
#include "SimpleTopologyContainer.pb.h"
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

std::string HexSize(std::size_t size) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  do {
    hex.insert(hex.begin(), kDigits[size % 16]);
    size /= 16;
  } while (size != 0);
  return hex;
}

std::string HttpChunkedPost(const std::string& target, const std::string& body) {
  return "POST " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nTransfer-Encoding: chunked\r\n\r\n" +
         HexSize(body.size()) + "\r\n" + body + "\r\n0\r\n\r\n";
}

std::string DictionaryEntry(const std::string& token) {
  std::string entry = "\"";
  for (const char c : token) {
    if (c == '"' || c == '\\') {
      entry += '\\';
      entry += c;
    } else if (c < ' ' || c > '~') {
      entry += "\\x" + HexSize(static_cast<unsigned char>(c) + 0x100).substr(1);
    } else {
      entry += c;
    }
  }
  return entry + '"';
}

// Every field and enumeration value name reachable from the requests.
std::set<std::string> RequestVocabulary() {
  std::set<std::string> words;
  std::set<const Descriptor*> seen;
  std::vector<const Descriptor*> pending(RequestTypes().begin(), RequestTypes().end());
  while (!pending.empty()) {
    const Descriptor* type = pending.back();
    pending.pop_back();
    if (!seen.insert(type).second) {
      continue;
    }
    for (int i = 0; i < type->field_count(); ++i) {
      const auto& field = *type->field(i);
      words.insert('"' + field.json_name() + '"');
      words.insert('"' + field.name() + '"');
      if (field.message_type() != nullptr) {
        pending.push_back(field.message_type());
      }
      if (field.enum_type() != nullptr) {
        for (int v = 0; v < field.enum_type()->value_count(); ++v) {
          words.insert('"' + field.enum_type()->value(v)->name() + '"');
        }
      }
    }
  }
  return words;
}

}  // namespace

SamplePlant ReadSamplePlant(const std::filesystem::path& samplePlant) {
  SamplePlant plant;
  const stub::AnswerSet answers = stub::LoadAnswerDirectory(samplePlant).Value();
  const auto topology = answers.find("SimpleTopologyQuery");
  Korvan::KQ::DataContracts::SimpleTopologyContainer container;
  if (topology == answers.end() || !container.ParseFromString(topology->second.body) ||
      container.values_size() == 0) {
    return plant;
  }
  const auto& factory = container.values(0);
  plant.factory = factory.name();
  if (factory.lines_size() > 0) {
    plant.line = factory.lines(0).name();
    if (factory.lines(0).testbenches_size() > 0) {
      plant.testBench = factory.lines(0).testbenches(0).name();
    }
  }
  return plant;
}

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
  for (Seed& seed : answerSeeds) {
    seed.bytes.insert(seed.bytes.begin() + 1, kChunkOf8Bytes);
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
  seeds.push_back({"chunked", HttpChunkedPost("/api/ApiVersionQuery", "{}")});
  seeds.push_back({"two-on-one-connection", version + version});
  seeds.push_back({"get", "GET /api/ApiVersionQuery HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"});
  seeds.push_back({"unknown-type", HttpPost("/api/NoSuchQuery", {})});
  seeds.push_back({"other-path", HttpPost("/status?x=1", {})});
  return seeds;
}

std::vector<std::string> JsonRequestDictionary() {
  std::vector<std::string> entries;
  for (const std::string& word : RequestVocabulary()) {
    entries.push_back(DictionaryEntry(word));
  }
  for (const char* token : {"{", "}", "[", "]", ":", ",", "null", "true", "false", "\"NaN\"",
                            "\"-Infinity\"", "1e308", "-0", "\"\\u0000\""}) {
    entries.push_back(DictionaryEntry(token));
  }
  return entries;
}

std::vector<std::string> StubRequestDictionary() {
  std::vector<std::string> entries;
  for (const Descriptor* type : RequestTypes()) {
    entries.push_back(DictionaryEntry("/api/" + type->name()));
  }
  for (const char* token :
       {"POST ", "GET ", "PUT ", "OPTIONS ", " HTTP/1.1\r\n", " HTTP/1.0\r\n", "\r\n\r\n",
        "Content-Length: ", "Transfer-Encoding: chunked\r\n", "Connection: close\r\n",
        "Expect: 100-continue\r\n", "Content-Type: application/x-protobuf\r\n", "%2F", "?"}) {
    entries.push_back(DictionaryEntry(token));
  }
  return entries;
}

}  // namespace vrex::fuzz
