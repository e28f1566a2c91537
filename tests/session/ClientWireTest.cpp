// What the session client puts on the wire: the established API's headers and
// bodies, the token and what the other options add. (Its outcomes are in the
// fault matrix of tests/reliability.)
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "TestSupport.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"

namespace {

namespace contracts = Korvan::KQ::DataContracts;
using vrex::testing::QuickOptions;

TEST(ClientWire, SendsTheHeadersAndBodiesOfTheEstablishedApi) {
  vrex::stub::StubServer server;
  server.Start();
  vrex::ClientOptions options = QuickOptions(server.BaseUrl());
  ASSERT_TRUE(vrex::Client(options).Send(contracts::ApiVersionQuery()));
  contracts::ApiVersionQuery withFactory;
  withFactory.set_factory("Plant 7");
  options.token = "session-test-token";
  options.userAgent = "plant-dashboard/2";
  options.acceptEncoding = "gzip";
  ASSERT_TRUE(vrex::Client(options).Send(withFactory));
  // The stub as the proxy: the request names the server in full, which the stub answers 404.
  options.baseUrl = "http://results.example";
  options.proxy = server.BaseUrl();
  EXPECT_EQ(vrex::Client(options).Send(withFactory).GetStatus().HttpStatus(), 404);

  const std::vector<vrex::stub::JournalEntry> seen = server.Journal();
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_EQ(seen[2].path, "http://results.example/api/ApiVersionQuery");
  const std::string bodies[] = {"{}", withFactory.SerializeAsString()};
  const std::string contentTypes[] = {"application/json", "application/x-protobuf"};
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(seen[i].path, "/api/ApiVersionQuery");
    EXPECT_EQ(seen[i].body, bodies[i]);
    EXPECT_EQ(*seen[i].FindHeader("Content-Type"), contentTypes[i]);
    EXPECT_EQ(*seen[i].FindHeader("accept"), "application/x-protobuf");
    EXPECT_EQ(*seen[i].FindHeader("User-Agent"), i == 0 ? "lVrexClient" : "plant-dashboard/2");
  }
  EXPECT_EQ(seen[0].FindHeader("GatewayApiAuthentication")->size(), 300u);  // the build's token
  EXPECT_EQ(*seen[1].FindHeader("GatewayApiAuthentication"), "session-test-token");
  EXPECT_EQ(seen[0].FindHeader("Accept-Encoding"), nullptr);
  EXPECT_EQ(*seen[1].FindHeader("Accept-Encoding"), "gzip");
}

// Options that break a rule never reach the wire: each call, synchronous or
// not, fails on this side naming the option, never showing the token.
TEST(ClientWire, OptionsThatBreakARuleSendNothing) {
  using Set = std::function<void(vrex::ClientOptions&)>;
  const std::vector<std::pair<Set, std::string>> cases = {
      {[](auto& o) { o.token = "t\r\nX-Injected: yes"; }, "byte 2 of the gateway token is 0x0D"},
      {[](auto& o) { o.token = "tok\x7f"; }, "byte 4 of the gateway token is 0x7F"},
      {[](auto& o) { o.token = " token"; }, "starts or ends with a blank"},
      {[](auto& o) { o.token = "token "; }, "starts or ends with a blank"},
      {[](auto& o) { o.token = ""; }, "the gateway token is empty"},
      {[](auto& o) { o.totalTimeout = std::chrono::milliseconds(0); }, "totalTimeout is 0 ms"},
      {[](auto& o) { o.connectTimeout = std::chrono::milliseconds(-5); }, "connectTimeout is -5"},
      {[](auto& o) { o.retry.initialDelay = std::chrono::milliseconds(-1); }, "initialDelay"},
      {[](auto& o) { o.retry.maxDelay = std::chrono::milliseconds(-1); }, "maxDelay is -1"},
      {[](auto& o) { o.retry.maxTotalTime = std::chrono::milliseconds(-1); }, "maxTotalTime"},
  };
  vrex::stub::StubServer server;
  server.Start();
  for (const auto& [set, problem] : cases) {
    vrex::ClientOptions options = QuickOptions(server.BaseUrl(), 3);
    set(options);
    const vrex::Client client(options);
    for (const vrex::Outcome& outcome :
         {client.Send(contracts::ApiVersionQuery()).GetStatus(),
          client.SendAsync(contracts::ApiVersionQuery()).Get().GetStatus()}) {
      EXPECT_EQ(outcome.GetEvent(), vrex::Outcome::Event::ClientFailed) << problem;
      EXPECT_THAT(outcome.ErrorText(), ::testing::HasSubstr(problem));
      EXPECT_THAT(outcome.ErrorText(), ::testing::Not(::testing::HasSubstr("Injected")));
      EXPECT_EQ(outcome.Attempts(), 1);
    }
  }
  EXPECT_TRUE(server.Journal().empty());
  EXPECT_EQ(vrex::ClientOptionsProblem(QuickOptions(server.BaseUrl())), "");
  EXPECT_EQ(vrex::GatewayTokenProblem(std::string(300, '~')), "");
}

}  // namespace
