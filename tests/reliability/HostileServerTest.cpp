// Servers that answer, but badly: without end, lying about sizes, in no HTTP,
// or at a trickle. vrex::Client and `vrex call` must end every such call by
// themselves, in bounded memory, with an outcome (and exit status) that tells
// what the server did rather than blaming the network.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "BoundedCall.h"
#include "ChildProcess.h"
#include "ProcessResources.h"
#include "StubFixture.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"
#include "vrex/stub/StubServer.h"

namespace vrex::reliability {
namespace {

using ::testing::HasSubstr;
using testing::HeapBytesInUse;
using Event = Outcome::Event;
using std::chrono::milliseconds;
namespace contracts = ::Korvan::KQ::DataContracts;

constexpr std::uint64_t kCap = 8u << 20;  // the client's answer size limit in these tests
// `vrex call --max-answer-size 64M` holds the library, protobuf and at most
// 64 MiB of answer: below this, sanitizers included. A client that parsed an
// endless answer while it arrived, or held it twice, would pass it.
constexpr long kProcessPeakKilobytes = 200 * 1024;

stub::CannedAnswer Chunks(std::string chunk, std::uint64_t repeat, milliseconds pace) {
  return testing::Delivered(std::move(chunk), stub::Delivery::Chunked, repeat, pace);
}

struct HostileServer {
  std::string name;
  stub::CannedAnswer answer;
  Event event;
  std::string messagePart;  ///< what the outcome's message must say
  int exitStatus;           ///< of `vrex call`
};

void PrintTo(const HostileServer& server, std::ostream* out) { *out << server.name; }

// Only the trickle meets the time-out; the others end on their own, however slowly.
int TimeOutSeconds(const HostileServer& s) { return s.event == Event::ReceiveTimedOut ? 1 : 30; }

std::vector<HostileServer> HostileServers() {
  return {
      {"EndlessBody", Chunks(std::string(64 * 1024, 'x'), stub::kEndless, milliseconds(0)),
       Event::AnswerTooLarge, "raise ClientOptions::maxAnswerBytes", 11},
      {"AnnouncesFiveGigabytes", testing::Announcing(5'000'000'000, "x"), Event::AnswerTooLarge,
       "too large", 11},
      {"CutShort", testing::Announcing(1000, "only ten b"), Event::BrokenAnswer,
       "not readable HTTP", 10},
      {"MalformedStatusLine", testing::Delivered("HTTP/1.1 2OO Fine\r\n\r\n", stub::Delivery::Raw),
       Event::BrokenAnswer, "not readable HTTP", 10},
      {"EndlessHeaders", testing::Delivered("", stub::Delivery::EndlessHeaders),
       Event::BrokenAnswer, "not readable HTTP", 10},
      {"TrickleIntoTheTimeOut", Chunks("x", 1000, milliseconds(100)), Event::ReceiveTimedOut,
       "timed out while receiving", 9},
  };
}

class HostileServerTest : public ::testing::TestWithParam<HostileServer> {
 protected:
  void SetUp() override {
    server.SetAnswer("ApiVersionQuery", GetParam().answer);
    server.Start();
  }
  void TearDown() override { server.Stop(); }

  stub::StubServer server;
};

TEST_P(HostileServerTest, TheClientEndsTheCallAndSaysWhatTheServerDid) {
  ClientOptions options;
  options.baseUrl = server.BaseUrl();
  options.totalTimeout = std::chrono::seconds(TimeOutSeconds(GetParam()));
  options.retry.maxAttempts = 1;
  options.maxAnswerBytes = kCap;
  const Client client(options);
  const std::size_t heapBefore = HeapBytesInUse();

  const auto result = RunBounded([&] { return client.Send(contracts::ApiVersionQuery()); },
                                 [this] { server.Stop(); });

  EXPECT_EQ(result.GetStatus().GetEvent(), GetParam().event) << result.GetStatus().Message();
  EXPECT_THAT(result.GetStatus().Message(), HasSubstr(GetParam().messagePart));
  EXPECT_THAT(result.GetStatus().Message(), ::testing::Not(HasSubstr("cannot reach")));
  EXPECT_LT(HeapBytesInUse(), heapBefore + kCap) << "the answer's bytes stayed behind";
}

TEST_P(HostileServerTest, VrexCallExitsWithTheFailuresStatusInBoundedMemory) {
  testing::ChildProcess vrex(
      VREX_EXECUTABLE,
      {"call", server.BaseUrl(), "ApiVersionQuery", "--timeout",
       std::to_string(TimeOutSeconds(GetParam())), "--retries", "0", "--max-answer-size", "64M"});
  const std::string output = vrex.ReadRest(kHangBound);
  const std::optional<int> status = vrex.Wait(kHangBound);

  ASSERT_TRUE(status.has_value()) << "vrex call does not end";
  ASSERT_TRUE(WIFEXITED(*status)) << "vrex call died: " << output;
  EXPECT_EQ(WEXITSTATUS(*status), GetParam().exitStatus) << output;
  EXPECT_LT(vrex.PeakResidentKilobytes(), kProcessPeakKilobytes);
}

INSTANTIATE_TEST_SUITE_P(Servers, HostileServerTest, ::testing::ValuesIn(HostileServers()),
                         [](const auto& info) { return info.param.name; });

// A download has no limit unless it sets one; it streams, so an endless
// answer costs it no memory until the limit stops it.
TEST(HostileServerDownload, StopsAnEndlessAnswerAtItsOwnLimit) {
  stub::StubServer server;
  server.SetAnswer("ApiVersionQuery",
                   Chunks(std::string(64 * 1024, 'x'), stub::kEndless, milliseconds(0)));
  server.Start();
  ClientOptions options;
  options.baseUrl = server.BaseUrl();
  options.retry.maxAttempts = 1;
  const Client client(options);
  DownloadOptions download;
  download.maxBytes = 64u << 20;
  std::uint64_t received = 0;
  const std::size_t heapBefore = HeapBytesInUse();
  std::size_t heapPeak = heapBefore;
  const auto countChunk = [&](std::string_view chunk) {
    received += chunk.size();
    heapPeak = std::max(heapPeak, HeapBytesInUse());
    return true;
  };

  const Outcome outcome = RunBounded(
      [&] {
        return client.Download("ApiVersionQuery", contracts::ApiVersionQuery(), countChunk,
                               download);
      },
      [&] { server.Stop(); });

  EXPECT_EQ(outcome.GetEvent(), Event::AnswerTooLarge) << outcome.Message();
  EXPECT_GT(received, *download.maxBytes - 64 * 1024);
  EXPECT_LE(received, *download.maxBytes);
  EXPECT_LT(heapPeak - heapBefore, kCap) << "the download kept what it handed on";
}

}  // namespace
}  // namespace vrex::reliability
