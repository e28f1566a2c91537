// The seam for application tests: code that uses vrex::Client, tested with
// the installed gMock transport and no network.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ApiVersionQuery.pb.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"
#include "vrex/mocks/MockTransport.h"

namespace {

namespace contracts = Korvan::KQ::DataContracts;
using ::testing::Return;
using vrex::mocks::RequestTypeIs;

// Application code under test: what a plant dashboard shows about its server.
std::string DescribeServer(const vrex::Client& client) {
  const auto version = client.Send(contracts::ApiVersionQuery());
  if (!version) {
    return "unavailable: " + version.GetStatus().Message();
  }
  return "interface " + std::to_string(version->major()) + "." + std::to_string(version->minor());
}

TEST(MockTransport, StandsInForTheServerInAnApplicationsTest) {
  auto transport = std::make_shared<vrex::mocks::MockTransport>();
  vrex::ClientOptions options;
  options.baseUrl = "http://results.example";
  options.retry.initialDelay = std::chrono::milliseconds(0);
  const vrex::Client client(options, transport);
  contracts::VersionDTO version;
  version.set_major(4);
  version.set_minor(3);

  EXPECT_CALL(*transport, Post(RequestTypeIs("ApiVersionQuery")))
      .WillOnce([&](const vrex::HttpRequest& request) {
        EXPECT_EQ(request.url, "http://results.example/api/ApiVersionQuery");
        return vrex::mocks::AnswerWith(version);
      })
      .WillOnce(Return(vrex::mocks::StatusOnly(401)))
      .WillRepeatedly(Return(vrex::mocks::TransportFailure("Could not resolve host")));
  EXPECT_EQ(DescribeServer(client), "interface 4.3");
  EXPECT_THAT(DescribeServer(client), ::testing::HasSubstr("HTTP 401 (ApiPipeline_Unauthorized)"));
  EXPECT_THAT(DescribeServer(client),
              ::testing::HasSubstr("Could not resolve host (CodeCategory_Backend, NoDetailCode) "
                                   "after 3 attempts"));
  auto later = client.SendAsync(contracts::ApiVersionQuery());  // a transport without PostAsync
  ASSERT_TRUE(later.WaitFor(std::chrono::seconds(30)) && !later.Get());
}

}  // namespace
