// The vrex-stub program as scripts use it: it prints its address first,
// answers from its data, and stops cleanly on SIGTERM.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <sys/wait.h>

#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <regex>
#include <string>
#include <thread>

#include "ChildProcess.h"
#include "RawHttp.h"
#include "ScratchDirectory.h"
#include "SimpleTopologyContainer.pb.h"
#include "StubFixture.h"
#include "VersionDTO.pb.h"
#include "vrex/MessageJson.h"
#include "vrex/stub/StubServer.h"

namespace vrex::stub {
namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace fs = std::filesystem;
using ::testing::HasSubstr;
using vrex::testing::ChildProcess;
using vrex::testing::ScratchDirectory;

// Bounds on a program that hangs; they fail the test, they time nothing.
constexpr std::chrono::seconds kPatience{30};

/// The port that the program's first line announces, or 0.
int AnnouncedPort(ChildProcess& stub) {
  const auto banner = stub.ReadLine(kPatience);
  const std::regex form(R"(vrex-stub listening on http://127\.0\.0\.1:(\d+))");
  std::smatch match;
  return banner && std::regex_match(*banner, match, form) ? std::stoi(match[1]) : 0;
}

/// Whether the program ends, within the patience, with `code`.
bool ExitsWith(ChildProcess& stub, int code) {
  const auto status = stub.Wait(kPatience);
  return status && WIFEXITED(*status) && WEXITSTATUS(*status) == code;
}

// The plant files of generate-plant and --plant are the examples' (examples/run-example.sh).
TEST(StubExecutable, StartsOnlyWithGoodDataServesItsPlantWithTheTokenAndStopsOnSigterm) {
  const ScratchDirectory data;
  data.Write("ApiVersionQuery.json", R"({"Major": 4)");
  ChildProcess refused(VREX_STUB_EXECUTABLE, {"--port", "0", "--data", data.Path().string()});
  EXPECT_TRUE(ExitsWith(refused, EXIT_FAILURE));
  const std::string output = refused.ReadRest(std::chrono::seconds(5));
  EXPECT_THAT(output, HasSubstr((data.Path() / "ApiVersionQuery.json").string()));
  EXPECT_THAT(output, ::testing::Not(HasSubstr("listening")));
  const auto status = ChildProcess(VREX_STUB_EXECUTABLE, {"--prot", "0"}).Wait(kPatience);
  EXPECT_TRUE(status && WIFEXITED(*status) && WEXITSTATUS(*status) != 0) << "ran with a bad option";
  ChildProcess version(VREX_STUB_EXECUTABLE, {"--version"});
  EXPECT_TRUE(ExitsWith(version, 0) && version.ReadRest(kPatience).rfind("vrex-stub ", 0) == 0);

  const std::string token = data.Write("token", "the token\n").string();
  ChildProcess stub(VREX_STUB_EXECUTABLE, {"--port", "0", "--require-token", token});
  const int port = AnnouncedPort(stub);
  ASSERT_GT(port, 0) << stub.ReadRest(std::chrono::seconds(1));
  const auto ask = [port](const std::string& header) {
    return vrex::testing::ExchangeRaw(port, "POST /api/SimpleTopologyQuery HTTP/1.1\r\n" + header +
                                                "Content-Length: 0\r\nConnection: close\r\n\r\n");
  };
  EXPECT_EQ(vrex::testing::StatusOf(ask("")), 401);
  EXPECT_EQ(vrex::testing::StatusOf(ask("GatewayApiAuthentication: the toke\r\n")), 401);
  const std::string answer = ask("GatewayApiAuthentication: the token\r\n");
  EXPECT_EQ(vrex::testing::StatusOf(answer), 200);
  dc::SimpleTopologyContainer topology;
  ASSERT_TRUE(topology.ParseFromString(vrex::testing::BodyOf(answer)));
  EXPECT_EQ(topology.values_size(), 3) << "the default is the generated plant";
  stub.Signal(SIGTERM);
  EXPECT_TRUE(ExitsWith(stub, EXIT_SUCCESS)) << "no clean stop on SIGTERM";
}

/// A response's status line and Content-Type, and its body: what a replay
/// must give back.
std::string Essence(const std::string& response) {
  const std::size_t type = response.find("Content-Type:");
  const std::string typeLine = response.substr(type, response.find("\r\n", type) - type);
  return response.substr(0, response.find("\r\n")) + "|" + typeLine + "|" +
         vrex::testing::BodyOf(response);
}

TEST(StubExecutable, RecordsWhatALiveServerAnswersForReplay) {
  constexpr char kToken[] = "token-that-stays-off-disk";
  dc::VersionDTO version;
  version.set_major(7);
  StubServer live;
  CannedAnswer busy = TextAnswer(503, "busy");
  busy.headers.push_back({"Retry-After", "7"});
  live.AddCase({"MeasurementQuery", "a", R"({"Line": "A"})", {busy}});
  live.AddCase(
      {"MeasurementQuery", "b", R"({"Line": "B"})", {vrex::testing::Answer(200, "\x0a\x00")}});
  live.SetAnswerMessage("ApiVersionQuery", version, 202);
  live.SetAnswer("ArchiveFileQuery",
                 vrex::testing::Answer(200, std::string("PK\0\xff", 4), "application/zip"));
  live.Start();
  const ScratchDirectory data;
  const std::string recorded = (data.Path() / "recorded").string();
  ChildProcess recorder(VREX_STUB_EXECUTABLE,
                        {"--port", "0", "--record-from", live.BaseUrl(), "--data", recorded});
  const int port = AnnouncedPort(recorder);
  ASSERT_GT(port, 0);

  const auto request = [&](const char* type, const char* json) {
    const std::string body = MessageFromJson(type, json).Value()->SerializeAsString();
    return "POST /api/" + std::string(type) + " HTTP/1.1\r\nGatewayApiAuthentication: " + kToken +
           "\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
           body;
  };
  const std::vector<std::string> requests{
      request("MeasurementQuery", R"({"Line": "A"})"),
      request("MeasurementQuery", R"({"Line": "B", "Factory": "F"})"),
      request("MeasurementQuery", R"({"Line": "B"})"),
      request("MeasurementQuery", R"({"Line": "A"})"),
      request("ApiVersionQuery", "{}"),
      request("ArchiveFileQuery", R"({"Line": "A"})")};
  std::vector<std::string> answers;
  std::string first;
  for (const std::string& sent : requests) {
    const std::string response = vrex::testing::ExchangeRaw(port, sent);
    EXPECT_EQ(response.find("Content-Length"), response.rfind("Content-Length")) << response;
    if (answers.empty()) first = response;
    answers.push_back(Essence(response));
  }
  EXPECT_THAT(first, ::testing::StartsWith("HTTP/1.1 503")) << "the live server's answer";
  EXPECT_THAT(first, HasSubstr("\r\nRetry-After: 7\r\n")) << "with its headers";
  recorder.Signal(SIGTERM);
  ASSERT_TRUE(ExitsWith(recorder, EXIT_SUCCESS));

  ASSERT_EQ(live.Journal().size(), requests.size());
  for (const JournalEntry& forwarded : live.Journal()) {
    ASSERT_NE(forwarded.FindHeader("GatewayApiAuthentication"), nullptr);
    EXPECT_EQ(*forwarded.FindHeader("GatewayApiAuthentication"), kToken);
  }
  for (const auto& file : fs::directory_iterator(recorded)) {
    std::ifstream in(file.path());
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_THAT(text, ::testing::Not(HasSubstr(kToken))) << file.path();
  }
  StubServer replay;
  ASSERT_TRUE(replay.LoadAnswers(recorded).Ok());
  replay.Start();
  for (std::size_t i = 0; i < requests.size(); ++i) {
    EXPECT_EQ(Essence(vrex::testing::ExchangeRaw(replay.Port(), requests[i])), answers[i])
        << "request " << i + 1;
  }
  EXPECT_EQ(replay.Cases().size(), 5U) << "one case per distinct request";
}

// A live server under a path that holds each MeasurementQuery until released
// and answers like a proxy's error page quoting the token.
TEST(StubExecutable, RecordsFromUnderAPathServesMeanwhileAndNeitherStoresNorFailsOnWhatItCannot) {
  constexpr char kToken[] = "token-quoted-by-a-proxy";
  std::mutex mutex;
  std::condition_variable changed;
  bool holding = false;
  bool released = false;
  httplib::Server live;
  live.Post(R"(/prefix/api/(\w+))", [&](const httplib::Request& in, httplib::Response& out) {
    if (in.matches[1] == "MeasurementQuery") {
      std::unique_lock lock(mutex);
      holding = true;
      changed.notify_all();
      changed.wait_for(lock, 3 * kPatience, [&] { return released; });  // beyond a raw client's
    }
    out.set_content("refused: " + in.get_header_value("GatewayApiAuthentication") + " " +
                        in.get_header_value("Authorization").substr(7),  // after "Bearer "
                    "text/plain");
  });
  const int livePort = live.bind_to_any_port("127.0.0.1");
  std::thread serving([&] { live.listen_after_bind(); });
  const ScratchDirectory data;
  const fs::path unwritable = data.Path() / "ApiVersionQuery.cases.json";
  fs::create_directory(unwritable);  // a directory where the case file goes
  ChildProcess recorder(VREX_STUB_EXECUTABLE,
                        {"--port", "0", "--threads", "1", "--record-timeout", "60", "--record-from",
                         "http://127.0.0.1:" + std::to_string(livePort) + "/prefix/", "--data",
                         data.Path().string()});
  const int port = AnnouncedPort(recorder);
  const auto ask = [&](const char* type) {
    return vrex::testing::ExchangeRaw(
        port, "POST /api/" + std::string(type) + " HTTP/1.1\r\nGatewayApiAuthentication: " +
                  kToken + "\r\nAuthorization: Bearer bearer-credential\r\n"
                  "Connection: close\r\nContent-Length: 0\r\n\r\n");
  };

  std::string held;
  std::thread holder([&] {
    try {
      held = ask("MeasurementQuery");
    } catch (const std::runtime_error&) {  // held beyond the client's patience: fails below
    }
  });
  {
    std::unique_lock lock(mutex);
    EXPECT_TRUE(changed.wait_for(lock, kPatience, [&] { return holding; }));
  }
  std::string admin;
  EXPECT_NO_THROW(admin = vrex::testing::ExchangeRaw(
                      port, "GET /__stub/journal HTTP/1.1\r\nConnection: close\r\n\r\n"));
  EXPECT_EQ(vrex::testing::StatusOf(admin), 200) << "answered while a forward waits";
  {
    const std::lock_guard lock(mutex);
    released = true;
  }
  changed.notify_all();
  holder.join();
  EXPECT_EQ(vrex::testing::BodyOf(held), std::string("refused: ") + kToken + " bearer-credential")
      << "returned unchanged";
  const std::string unrecorded = ask("ApiVersionQuery");
  EXPECT_EQ(vrex::testing::StatusOf(unrecorded), 200) << unrecorded;
  recorder.Signal(SIGTERM);
  EXPECT_THAT(recorder.ReadRest(kPatience), HasSubstr("goes back unrecorded"));
  live.stop();
  serving.join();

  EXPECT_FALSE(fs::exists(unwritable.string() + ".partial"));
  fs::remove(unwritable);
  StubServer replay;
  ASSERT_TRUE(replay.LoadAnswers(data.Path()).Ok());
  ASSERT_EQ(replay.Cases().size(), 1U);
  const std::string recorded = replay.Cases()[0].answers.at(0).body;
  EXPECT_THAT(recorded, ::testing::StartsWith("refused: ***"));
  EXPECT_THAT(recorded, ::testing::Not(HasSubstr(kToken)));
  EXPECT_THAT(recorded, ::testing::Not(HasSubstr("bearer-credential")));
}

}  // namespace
}  // namespace vrex::stub
