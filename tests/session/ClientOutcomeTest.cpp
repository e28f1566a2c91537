// The outcome of a call (the status values of VrexClient::Post for the same
// event, and a message for people) and what goes over the wire.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "TestServer.h"
#include "TestSupport.h"
#include "VersionDTO.pb.h"
#include "VrexClient.h"
#include "vrex/Client.h"

namespace {

namespace contracts = Korvan::KQ::DataContracts;
namespace enums = contracts::Enumerator;
using ::testing::HasSubstr;
using vrex::Outcome;
using vrex::testing::QuickOptions;

contracts::VersionDTO Version(int major, int minor) {
  contracts::VersionDTO version;
  version.set_major(major);
  version.set_minor(minor);
  return version;
}

TEST(ClientOutcome, MatchesTheEstablishedPostForEveryServerAnswer) {
  struct Case {
    int status;
    std::string body;
    Outcome::Event event;
    enums::CodeCategory category;
    enums::DetailCode detail;
    const char* message;
  };
  const Case cases[] = {
      {200, Version(4, 2).SerializeAsString(), Outcome::Event::Succeeded, enums::CodeCategory_None,
       enums::NoDetailCode, "ApiVersionQuery: succeeded: HTTP 200"},
      {200, "\xff\xff", Outcome::Event::AnswerUnreadable, enums::CodeCategory_Backend,
       enums::NoDetailCode,
       "not a valid Korvan.KQ.DataContracts.VersionDTO, HTTP 200 "
       "(CodeCategory_Backend, NoDetailCode)"},
      {401, "", Outcome::Event::HttpStatusFailed, enums::CodeCategory_ApiPipeline,
       enums::ApiPipeline_Unauthorized,
       "server rejected the request: HTTP 401 (ApiPipeline_Unauthorized)"},
      {499, "", Outcome::Event::HttpStatusFailed, enums::CodeCategory_ApiPipeline,
       enums::ApiPipeline_Unauthorized, "HTTP 499 (ApiPipeline_Unauthorized)"},
      {500, "", Outcome::Event::HttpStatusFailed, enums::CodeCategory_ApiPipeline,
       enums::ApiPipeline_Failed, "server failed the request: HTTP 500 (ApiPipeline_Failed)"},
      {302, "", Outcome::Event::HttpStatusFailed, enums::CodeCategory_ApiPipeline,
       enums::ApiPipeline_Failed, "HTTP 302 (ApiPipeline_Failed)"},
      {204, "", Outcome::Event::HttpStatusFailed, enums::CodeCategory_ApiPipeline,
       enums::ApiPipeline_Failed, "HTTP 204 (ApiPipeline_Failed)"},
  };
  vrex::stub::StubServer server;
  server.Start();
  const vrex::Client client(QuickOptions(server.BaseUrl()));
  for (const Case& row : cases) {
    SCOPED_TRACE(row.status);
    server.SetAnswer("ApiVersionQuery", vrex::testing::Answer(row.status, row.body));
    google::protobuf::Arena arena;
    const auto result = client.Send(contracts::ApiVersionQuery(), arena);
    EXPECT_EQ(result->GetArena(), &arena);
    const Outcome& outcome = result.GetStatus();
    EXPECT_EQ(outcome.GetEvent(), row.event) << vrex::ToString(outcome.GetEvent());
    EXPECT_EQ(outcome.Status().codecategory(), row.category);
    EXPECT_EQ(outcome.Status().detailcode(), row.detail);
    EXPECT_EQ(outcome.Status().level(), outcome.Ok() ? enums::Trace : enums::Error);
    EXPECT_EQ(outcome.HttpStatus(), row.status);
    EXPECT_THAT(outcome.Message(), HasSubstr(row.message));
    EXPECT_EQ(result->minor(), outcome.Ok() ? 2 : 0);

    contracts::VersionDTO established;
    const contracts::MessageContainer expected = VrexClient::Post(
        server.BaseUrl() + "/api/ApiVersionQuery", contracts::ApiVersionQuery(), established, "");
    EXPECT_EQ(outcome.Status().SerializeAsString(), expected.SerializeAsString());
    contracts::VersionDTO generic;
    EXPECT_EQ(client.Send("ApiVersionQuery", contracts::ApiVersionQuery(), generic).GetEvent(),
              row.event);
    EXPECT_EQ(generic.minor(), established.minor());
  }
}

TEST(ClientOutcome, ReportsAnUnreachableServerWithLibcurlsTextAndPrintsNothing) {
  const vrex::Client client(QuickOptions(vrex::testing::UnreachableUrl()));
  ::testing::internal::CaptureStderr();
  const Outcome outcome = client.Send(contracts::ApiVersionQuery()).GetStatus();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(outcome.GetEvent(), Outcome::Event::Unreachable);
  EXPECT_EQ(outcome.Status().codecategory(), enums::CodeCategory_Backend);
  EXPECT_EQ(outcome.Status().level(), enums::Error);
  EXPECT_FALSE(outcome.ErrorText().empty());
  EXPECT_THAT(outcome.Message(),
              HasSubstr(outcome.ErrorText() + " (CodeCategory_Backend, NoDetailCode)"));
}

TEST(ClientOutcome, SendsTheHeadersAndBodiesOfTheEstablishedApi) {
  vrex::stub::StubServer server;
  server.Start();
  vrex::ClientOptions options = QuickOptions(server.BaseUrl());
  ASSERT_TRUE(vrex::Client(options).Send(contracts::ApiVersionQuery()));
  contracts::ApiVersionQuery withFactory;
  withFactory.set_factory("Plant 7");
  options.token = "session-test-token";
  ASSERT_TRUE(vrex::Client(options).Send(withFactory));

  const std::vector<vrex::stub::JournalEntry> seen = server.Journal();
  ASSERT_EQ(seen.size(), 2u);
  const std::string bodies[] = {"{}", withFactory.SerializeAsString()};
  const std::string contentTypes[] = {"application/json", "application/x-protobuf"};
  for (std::size_t i = 0; i < seen.size(); ++i) {
    EXPECT_EQ(seen[i].path, "/api/ApiVersionQuery");
    EXPECT_EQ(seen[i].body, bodies[i]);
    EXPECT_EQ(*seen[i].FindHeader("Content-Type"), contentTypes[i]);
    EXPECT_EQ(*seen[i].FindHeader("accept"), "application/x-protobuf");
  }
  EXPECT_EQ(seen[0].FindHeader("GatewayApiAuthentication")->size(), 300u);  // the build's token
  EXPECT_EQ(*seen[1].FindHeader("GatewayApiAuthentication"), "session-test-token");
}

}  // namespace
