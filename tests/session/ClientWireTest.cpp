// What the session client puts on the wire: the established API's headers and
// bodies, the token and what the other options add. (Its outcomes are in the
// fault matrix of tests/reliability.)
#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

}  // namespace
