// The vrex-stub program as scripts use it: it prints its address first,
// answers from its data, and stops cleanly on SIGTERM.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <regex>
#include <string>

#include "ChildProcess.h"
#include "RawHttp.h"
#include "ScratchDirectory.h"
#include "SimpleTopologyContainer.pb.h"

namespace vrex::stub {
namespace {

namespace dc = Korvan::KQ::DataContracts;
using ::testing::HasSubstr;
using vrex::testing::ChildProcess;
using vrex::testing::ScratchDirectory;

// Bounds on a program that hangs; they fail the test, they time nothing.
constexpr std::chrono::seconds kPatience{30};

int PortFromBanner(const std::string& line) {
  std::smatch match;
  if (!std::regex_match(line, match,
                        std::regex(R"(vrex-stub listening on http://127\.0\.0\.1:(\d+))"))) {
    return 0;
  }
  return std::stoi(match[1]);
}

TEST(StubExecutable, PrintsItsPortServesTheSamplePlantAndStopsOnSigterm) {
  ChildProcess stub(VREX_STUB_EXECUTABLE, {"--port", "0"});

  const auto banner = stub.ReadLine(kPatience);
  ASSERT_TRUE(banner) << "no first line; output: " << stub.ReadRest(std::chrono::seconds(1));
  const int port = PortFromBanner(*banner);
  ASSERT_GT(port, 0) << *banner;

  const std::string response = vrex::testing::ExchangeRaw(
      port,
      "POST /api/SimpleTopologyQuery HTTP/1.1\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(vrex::testing::StatusOf(response), 200);
  dc::SimpleTopologyContainer topology;
  ASSERT_TRUE(topology.ParseFromString(response.substr(response.find("\r\n\r\n") + 4)));
  EXPECT_GE(topology.values_size(), 2) << "the default data is the sample plant";

  stub.Signal(SIGTERM);
  const auto status = stub.Wait(kPatience);
  ASSERT_TRUE(status) << "still running after SIGTERM";
  ASSERT_TRUE(WIFEXITED(*status));
  EXPECT_EQ(WEXITSTATUS(*status), 0);
}

TEST(StubExecutable, RefusesToStartWithABadDataFileAndNamesIt) {
  const ScratchDirectory data;
  data.Write("ApiVersionQuery.json", R"({"Major": 4)");

  ChildProcess stub(VREX_STUB_EXECUTABLE, {"--port", "0", "--data", data.Path().string()});

  const auto status = stub.Wait(kPatience);
  ASSERT_TRUE(status);
  ASSERT_TRUE(WIFEXITED(*status));
  EXPECT_NE(WEXITSTATUS(*status), 0);
  const std::string output = stub.ReadRest(std::chrono::seconds(5));
  EXPECT_THAT(output, HasSubstr((data.Path() / "ApiVersionQuery.json").string()));
  EXPECT_THAT(output, ::testing::Not(HasSubstr("listening")));
}

}  // namespace
}  // namespace vrex::stub
