// Help that fits the terminal: one line per command in `vrex --help`, every
// line of every help within the width, examples kept.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "VrexHarness.h"

namespace vrex::cli {
namespace {

using ::testing::HasSubstr;

const std::vector<std::string> kCommands = {"list",         "describe", "template", "call",
                                            "download",     "version",  "topology", "tests",
                                            "measurements", "log",      "plot",     "completion"};

class Help : public ::testing::TestWithParam<std::size_t> {};

TEST_P(Help, FitsTheWidthWithExamplesAndOneOverviewLinePerCommand) {
  const std::size_t width = GetParam();
  const auto overview = testing::RunVrexInProcess({"--help"}, "", width);
  EXPECT_EQ(overview.exitCode, 0);
  EXPECT_THAT(overview.out, HasSubstr("7  version not accepted"));
  EXPECT_THAT(overview.out,
              HasSubstr("\n  plot          Draw measured curves, tracks and maps into a "));
  std::string all = overview.out;
  for (const std::string& command : kCommands) {
    SCOPED_TRACE(command);
    EXPECT_THAT(overview.out, HasSubstr("\n  " + command + "  "));
    const auto run = testing::RunVrexInProcess({command, "--help"}, "", width);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr("EXAMPLES\n  vrex " + command));
    all += run.out;
  }
  std::istringstream lines(all);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), width + 2 * (line.find("\u00b5") != std::string::npos)) << line;
  }
}

INSTANTIATE_TEST_SUITE_P(Widths, Help, ::testing::Values(80, 120),
                         [](const auto& info) { return "Columns" + std::to_string(info.param); });

TEST(HelpWrapping, ExamplesContinueWithABackslashAndKeepQuotesWhole) {
  const auto run = testing::RunVrexInProcess({"plot", "--help"}, "", 80);
  EXPECT_THAT(run.out, HasSubstr("--clavis 'Idle/FFT/Mic-1/Gearbox/Spectrum/MIC-4189-A' \\\n"
                                 "        -o spectrum.png\n"));
  EXPECT_THAT(
      run.out,
      HasSubstr("  --clavis TEXT ... REQUIRED\n                          Quantity to draw"));
}

}  // namespace
}  // namespace vrex::cli
