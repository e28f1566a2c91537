// `vrex download`: file answers saved whole or not at all.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "PlantServer.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::cli {
namespace {

using ::testing::HasSubstr;
using testing::PlantServerTest;

class DownloadCommand : public PlantServerTest {
 protected:
  void SetUp() override {
    PlantServerTest::SetUp();
    directory_ = std::filesystem::path(::testing::TempDir()) /
                 ("vrex-download-" + std::to_string(::getpid()));
    std::filesystem::create_directories(directory_);
  }
  void TearDown() override {
    std::filesystem::remove_all(directory_);
    PlantServerTest::TearDown();
  }

  std::filesystem::path Target(const std::string& name) const { return directory_ / name; }

  static std::string Contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  std::filesystem::path directory_;
};

TEST_F(DownloadCommand, WritesTheFileQuietlyWhenNotOnATerminal) {
  std::string wave = "RIFF";
  for (int i = 0; i < 100000; ++i) wave.push_back(static_cast<char>(i % 251));
  server.SetAnswer("WavFileQuery", testing::BodyAnswer(200, wave, "audio/wav"));
  const auto target = Target("1002.wav");

  const auto result = Vrex("download", {"WavFileQuery", "-d", R"({"Identifier": 1002})", "-o",
                                        target.string()});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(Contents(target), wave);
  EXPECT_EQ(result.err, "") << "no progress bar and no summary when stderr is no terminal";
  EXPECT_EQ(result.out, "");
}

TEST_F(DownloadCommand, AFailedDownloadLeavesAnExistingFileAsItWas) {
  const auto target = Target("tests.csv");
  { std::ofstream(target) << "old contents"; }
  server.SetAnswer("CsvExportFileQuery", testing::BodyAnswer(404, "not here", "text/plain"));

  const auto result = Vrex("download", {"CsvExportFileQuery", "-o", target.string()});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_THAT(result.err, HasSubstr("HTTP 404"));
  EXPECT_EQ(Contents(target), "old contents");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_),
                          std::filesystem::directory_iterator()),
            1)
      << "no temporary file is left behind";
}

TEST_F(DownloadCommand, AnUnwritableTargetIsAFileError) {
  server.SetAnswer("ArchiveFileQuery", testing::BodyAnswer(200, "data", "application/octet-stream"));
  const auto result =
      Vrex("download", {"ArchiveFileQuery", "-o", (directory_ / "missing" / "a.kqa").string()});
  EXPECT_EQ(result.exitCode, 8);
  EXPECT_THAT(result.err, HasSubstr("cannot write the file"));
}

TEST_F(DownloadCommand, AQueryIsNoFileRequest) {
  const auto result = Vrex("download", {"GetShiftQuery", "-o", Target("x").string()});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("use `vrex call`"));
  EXPECT_THAT(result.err, HasSubstr("WavFileQuery"));
  EXPECT_TRUE(server.Journal().empty());
}

}  // namespace
}  // namespace vrex::cli
