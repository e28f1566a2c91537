// The connection options every server command shares: token, verbose trace,
// URL form.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ConnectionOptions.h"
#include "PlantServer.h"

namespace vrex::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using testing::PlantServerTest;
using testing::ProcessInput;

using ConnectionOptions = PlantServerTest;

const std::string kSecret = "s3cret-gateway-token";

std::string SentToken(const std::vector<stub::JournalEntry>& received) {
  const std::string* token =
      received.empty() ? nullptr : received.back().FindHeader("GatewayApiAuthentication");
  return token != nullptr ? *token : "(none)";
}

TEST_F(ConnectionOptions, TheTokenComesFromTheOptionOrTheEnvironment) {
  const auto fromOption = Vrex("version", {"--token", kSecret});
  ASSERT_EQ(fromOption.exitCode, 0) << fromOption.err;
  EXPECT_EQ(SentToken(Received("ApiVersionQuery")), kSecret);

  const auto fromEnvironment = Vrex("version", {}, ProcessInput{"", {{"VREX_TOKEN", "env-token"}}});
  ASSERT_EQ(fromEnvironment.exitCode, 0) << fromEnvironment.err;
  EXPECT_EQ(SentToken(Received("ApiVersionQuery")), "env-token");

  const auto optionWins =
      Vrex("version", {"--token", kSecret}, ProcessInput{"", {{"VREX_TOKEN", "env-token"}}});
  EXPECT_EQ(SentToken(Received("ApiVersionQuery")), kSecret);
}

TEST_F(ConnectionOptions, VerboseShowsRequestHeadersStatusAndTimeButNeverTheToken) {
  const auto result = Vrex("version", {"-v", "--token", kSecret});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("> POST /api/ApiVersionQuery HTTP/1.1\n"));
  EXPECT_THAT(result.err, HasSubstr("> Content-Type: application/json\n"));
  EXPECT_THAT(result.err, HasSubstr("> GatewayApiAuthentication: ***\n"));
  EXPECT_THAT(result.err, HasSubstr("< HTTP/1.1 200 OK\n"));
  EXPECT_THAT(result.err, ::testing::ContainsRegex("\\* ApiVersionQuery: HTTP 200, 1 attempt, "
                                                   "[0-9.]+ ms\n"));
  EXPECT_THAT(result.err + result.out, Not(HasSubstr(kSecret)));
}

TEST_F(ConnectionOptions, InsecureWarns) {
  const auto result = Vrex("version", {"--insecure"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("warning: --insecure"));
}

TEST_F(ConnectionOptions, ATrailingSlashOfTheUrlIsDropped) {
  const auto result = testing::RunVrexProcess({"version", server.BaseUrl() + "/"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(server.Journal().back().path, "/api/ApiVersionQuery");
}

TEST(UrlForm, NormaliseUrlDropsOnlyTrailingSlashes) {
  EXPECT_EQ(NormaliseUrl("http://h:1/prefix//"), "http://h:1/prefix");
  EXPECT_EQ(NormaliseUrl("http://h:1"), "http://h:1");
}

}  // namespace
}  // namespace vrex::cli
