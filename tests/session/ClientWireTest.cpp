// What the session client puts on the wire: the established API's headers
// and bodies, the build's token or the one of the options. (Its outcomes
// are in the fault matrix of tests/reliability.)
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "VersionDTO.pb.h"
#include "TestSupport.h"
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
