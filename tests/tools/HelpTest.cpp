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

TEST_P(Help, EveryLineFitsTheWidth) {
  const std::size_t width = GetParam();
  for (const std::string& command : kCommands) {
    SCOPED_TRACE(command);
    const auto run = testing::RunVrexInProcess({command, "--help"}, "", width);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr("EXAMPLES\n  vrex " + command));
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), width + 2 * (line.find("\u00b5") != std::string::npos)) << line;
    }
  }
}

TEST_P(Help, TheOverviewHasOneLinePerCommand) {
  const auto run = testing::RunVrexInProcess({"--help"}, "", GetParam());
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("7  version not accepted"));
  std::istringstream lines(run.out);
  std::size_t commandLines = 0;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), GetParam()) << line;
    for (const std::string& command : kCommands) {
      commandLines += line.rfind("  " + command + "  ", 0) == 0;
    }
  }
  EXPECT_EQ(commandLines, kCommands.size());
  EXPECT_THAT(run.out, HasSubstr("  plot          Draw measured curves, tracks and maps into a "));
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
