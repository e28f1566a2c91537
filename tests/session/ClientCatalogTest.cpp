// Every request of the catalog goes through vrex::Client with its answer type
// fixed at compile time: each query gets its answer message, each command an
// outcome, each file request a download.
#include <google/protobuf/dynamic_message.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

#include "TestSupport.h"
#include "vrex/Client.h"
#include "vrex/Contracts.h"

namespace {

namespace pb = google::protobuf;
namespace contracts = Korvan::KQ::DataContracts;

// A field number no contract message uses; answers carry their request type
// in it, so an answer that arrives is known to be the one the server meant.
constexpr int kMarkerField = 536870000;

void ServeEveryAnswer(vrex::stub::StubServer& server) {
  pb::DynamicMessageFactory factory;
  for (const vrex::RequestInfo& info : vrex::Requests()) {
    const std::string name(info.name);
    if (info.kind == vrex::RequestKind::Query) {
      std::unique_ptr<pb::Message> answer(
          factory.GetPrototype(vrex::AnswerDescriptor(info))->New());
      answer->GetReflection()
          ->MutableUnknownFields(answer.get())
          ->AddLengthDelimited(kMarkerField, name);
      server.SetAnswerMessage(name, *answer);
    } else if (info.kind == vrex::RequestKind::File) {
      server.SetAnswer(name, vrex::testing::Answer(200, "file of " + name, "text/csv"));
    }  // commands get the stub's empty 200
  }
}

template <class Query>
void CheckQuery(const vrex::Client& client) {
  const std::string name(vrex::RequestTraits<Query>::kName);
  const auto result = client.Send(Query());
  using Answer = std::decay_t<decltype(result.Value())>;
  EXPECT_EQ(Answer::descriptor(), vrex::AnswerDescriptor(*vrex::FindRequest(name))) << name;
  ASSERT_TRUE(result) << result.GetStatus().Message();
  const pb::UnknownFieldSet& marker = result->GetReflection()->GetUnknownFields(*result);
  ASSERT_EQ(marker.field_count(), 1) << name;
  EXPECT_EQ(marker.field(0).length_delimited(), name);
}

template <class Command>
void CheckCommand(const vrex::Client& client) {
  const auto outcome = client.Send(Command());
  static_assert(std::is_same_v<decltype(outcome), const vrex::Outcome>);
  EXPECT_TRUE(outcome) << outcome.Message();
}

template <class FileRequest>
void CheckFile(const vrex::Client& client) {
  const std::string name(vrex::RequestTraits<FileRequest>::kName);
  std::string file;
  const vrex::Outcome outcome = client.Download(FileRequest(), [&](std::string_view chunk) {
    file.append(chunk);
    return true;
  });
  EXPECT_TRUE(outcome) << outcome.Message();
  EXPECT_EQ(file, "file of " + name);
}

TEST(ClientCatalog, SendsEveryRequestOfTheCatalogWithItsAnswerType) {
  vrex::stub::StubServer server;
  ServeEveryAnswer(server);
  server.Start();
  const vrex::Client client(vrex::testing::QuickOptions(server.BaseUrl()));

#define VREX_QUERY(Area, Request, Answer, Repeat) CheckQuery<contracts::Request>(client);
#define VREX_COMMAND(Area, Request, Repeat) CheckCommand<contracts::Request>(client);
#define VREX_FILE(Area, Request, Repeat) CheckFile<contracts::Request>(client);
#include "vrex/RequestList.inc"

  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), vrex::Requests().size());
  for (std::size_t i = 0; i < journal.size(); ++i) {
    EXPECT_EQ(journal[i].path, "/api/" + std::string(vrex::Requests()[i].name));
  }
}

}  // namespace
