// Neither API writes a request or an answer to disk unless asked to
// (vrex::Client::DownloadToFile): calls of every kind leave the working and
// the temporary directory as empty as they found them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "ApiVersionQuery.pb.h"
#include "Endpoints.h"
#include "FaultCatalog.h"
#include "ScratchDirectory.h"
#include "VrexClient.h"
#include "vrex/Client.h"
#include "vrex/stub/StubServer.h"

namespace vrex::reliability {
namespace {

using testing::ScratchDirectory;

// Makes `directory` the working directory and TMPDIR until destroyed.
class RedirectedDirectories {
 public:
  explicit RedirectedDirectories(const std::filesystem::path& directory)
      : workingDirectory_(std::filesystem::current_path()) {
    if (const char* tmpdir = std::getenv("TMPDIR")) {
      temporaryDirectory_ = tmpdir;
    }
    std::filesystem::current_path(directory);
    ::setenv("TMPDIR", directory.c_str(), 1);
  }
  ~RedirectedDirectories() {
    std::filesystem::current_path(workingDirectory_);
    if (temporaryDirectory_) {
      ::setenv("TMPDIR", temporaryDirectory_->c_str(), 1);
    } else {
      ::unsetenv("TMPDIR");
    }
  }
  RedirectedDirectories(const RedirectedDirectories&) = delete;
  RedirectedDirectories& operator=(const RedirectedDirectories&) = delete;

 private:
  std::filesystem::path workingDirectory_;
  std::optional<std::string> temporaryDirectory_;
};

void CallEveryWay(const std::string& liveUrl, const std::string& deadUrl) {
  contracts::MessageContainer status;
  contracts::VersionDTO response;
  for (const std::string& url : {liveUrl, deadUrl}) {
    VrexClient::Post(url + "/api/ApiVersionQuery", contracts::ApiVersionQuery(), response, "");
    VrexClient::SendToServer(url, contracts::ApiVersionQuery(), status, "");
    VrexClient::CheckVersion(url, status, "");
    ClientOptions options;
    options.baseUrl = url;
    options.retry.maxAttempts = 1;
    const Client client(options);
    client.Send(contracts::ApiVersionQuery());
    client.Download("ApiVersionQuery", contracts::ApiVersionQuery(),
                    [](std::string_view) { return true; });
  }
}

TEST(DiskHygiene, CallsWriteNothingToTheWorkingOrTemporaryDirectory) {
  stub::StubServer server;
  server.SetAnswerMessage("ApiVersionQuery", ServerVersion());
  server.Start();
  const ScratchDirectory scratch;

  ::testing::internal::CaptureStderr();  // the established Post's failure lines
  {
    const RedirectedDirectories redirected(scratch.Path());
    CallEveryWay(server.BaseUrl(), RefusedBaseUrl());
  }
  ::testing::internal::GetCapturedStderr();
  server.Stop();

  EXPECT_EQ(server.Journal().size(), 5u) << "every live call reached the server";
  EXPECT_TRUE(std::filesystem::is_empty(scratch.Path()));
}

}  // namespace
}  // namespace vrex::reliability
