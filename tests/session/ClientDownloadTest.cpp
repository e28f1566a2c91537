// File answers written to a file that appears only when the download
// succeeds (the catalog test streams them to a callback).
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <optional>
#include <string>

#include "CsvExportFileQuery.pb.h"
#include "ScratchDirectory.h"
#include "TestSupport.h"
#include "WavFileQuery.pb.h"
#include "vrex/Client.h"

namespace {

namespace contracts = Korvan::KQ::DataContracts;
namespace fs = std::filesystem;
using vrex::Outcome;

const std::string& FileContent() {  // several chunks long
  static const std::string content = [] {
    std::string text(3 * 1024 * 1024, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('a' + i % 26);
    return text;
  }();
  return content;
}

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

class ClientDownload : public ::testing::Test {
 protected:
  ClientDownload() {
    server_.SetAnswer("CsvExportFileQuery", vrex::testing::Answer(200, FileContent(), "text/csv"));
    server_.Start();
  }

  std::size_t FilesInDirectory() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory_.Path()), {}));
  }

  vrex::testing::ScratchDirectory directory_;
  vrex::stub::StubServer server_;
};

TEST_F(ClientDownload, AFileAppearsOnlyWhenItsDownloadSucceeds) {
  const fs::path target = directory_.Path() / "export.csv";
  std::ofstream(target) << "previous export";
  enum class Progress { Continue, Cancel, RunOutOfMemory };
  struct Case {
    std::string baseUrl;
    Progress progress;
    std::optional<std::uint64_t> maxBytes;
    Outcome::Event event;
  };
  const Case failures[] = {
      {server_.BaseUrl() + "/missing", Progress::Continue, {}, Outcome::Event::HttpStatusFailed},
      {vrex::testing::UnreachableUrl(), Progress::Continue, {}, Outcome::Event::Unreachable},
      {server_.BaseUrl(), Progress::Cancel, {}, Outcome::Event::Cancelled},
      // Thrown inside libcurl's write callback: caught there, reported here.
      {server_.BaseUrl(), Progress::RunOutOfMemory, {}, Outcome::Event::ClientFailed},
      {server_.BaseUrl(), Progress::Continue, FileContent().size() - 1,
       Outcome::Event::AnswerTooLarge},
  };
  for (const Case& row : failures) {
    SCOPED_TRACE(row.baseUrl + " " + std::string(vrex::ToString(row.event)));
    vrex::DownloadOptions options;
    options.maxBytes = row.maxBytes;
    options.onProgress = [&](const vrex::TransferProgress&) {
      if (row.progress == Progress::RunOutOfMemory) throw std::bad_alloc();
      return row.progress == Progress::Continue;
    };
    const Outcome outcome = vrex::Client(vrex::testing::QuickOptions(row.baseUrl))
                                .DownloadToFile(contracts::CsvExportFileQuery(), target, options);
    EXPECT_EQ(outcome.GetEvent(), row.event) << outcome.Message();
    EXPECT_EQ(ReadFile(target), "previous export");
    EXPECT_EQ(FilesInDirectory(), 1u);  // no temporary file left behind
  }

  vrex::TransferProgress last;
  vrex::DownloadOptions options;
  options.onProgress = [&](const vrex::TransferProgress& progress) {
    EXPECT_GT(progress.received, last.received);
    last = progress;
    return true;
  };
  const Outcome outcome = vrex::Client(vrex::testing::QuickOptions(server_.BaseUrl()))
                              .DownloadToFile(contracts::CsvExportFileQuery(), target, options);
  ASSERT_TRUE(outcome) << outcome.Message();
  EXPECT_TRUE(ReadFile(target) == FileContent());
  EXPECT_EQ(FilesInDirectory(), 1u);
  EXPECT_EQ(last.received, FileContent().size());
  EXPECT_EQ(last.expected, FileContent().size());
}

TEST_F(ClientDownload, ATransferBrokenOffMidwayLeavesNoFileAndIsNotRepeated) {
  // Announces the whole file but closes the connection after half of it.
  vrex::stub::CannedAnswer broken = vrex::testing::Answer(200, FileContent(), "audio/wav");
  broken.delivery = vrex::stub::Delivery::CloseMidBody;
  server_.SetAnswer("WavFileQuery", broken);
  const Outcome outcome =
      vrex::Client(vrex::testing::QuickOptions(server_.BaseUrl(), 3))
          .DownloadToFile(contracts::WavFileQuery(), directory_.Path() / "sound.wav");
  EXPECT_EQ(outcome.GetEvent(), Outcome::Event::BrokenAnswer);
  EXPECT_EQ(outcome.Attempts(), 1);  // bytes were delivered already
  EXPECT_EQ(server_.Journal().size(), 1u);
  EXPECT_EQ(FilesInDirectory(), 0u);
}

// A full disk (here a 2-byte file size limit) shows on closing while a small answer is buffered.
TEST_F(ClientDownload, AFileThatCannotBeWrittenIsReportedAndLeavesNothing) {
  server_.SetAnswer("CsvExportFileQuery", vrex::testing::Answer(200, "a;b\n", "text/csv"));
  std::signal(SIGXFSZ, SIG_IGN);  // a write past the limit fails instead of ending the process
  rlimit unlimited{};
  getrlimit(RLIMIT_FSIZE, &unlimited);
  const rlimit twoBytes{2, unlimited.rlim_max};
  setrlimit(RLIMIT_FSIZE, &twoBytes);
  const Outcome outcome =
      vrex::Client(vrex::testing::QuickOptions(server_.BaseUrl()))
          .DownloadToFile(contracts::CsvExportFileQuery(), directory_.Path() / "a.csv");
  setrlimit(RLIMIT_FSIZE, &unlimited);
  EXPECT_EQ(outcome.GetEvent(), Outcome::Event::FileFailed);
  EXPECT_NE(outcome.Message().find("cannot write"), std::string::npos) << outcome.Message();
  EXPECT_EQ(FilesInDirectory(), 0u);
}

}  // namespace
