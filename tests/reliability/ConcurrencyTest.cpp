// Eight threads calling at once, half by the established functions and half
// by one shared vrex::Client, each asking for data of its own (the stub echoes
// the query into the answer): every answer must be the caller's own.
// Run under ThreadSanitizer as well (label "concurrency"); there
// VREX_CONCURRENCY_CALLS scales the calls per thread down.
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "EchoAnswers.h"
#include "VrexClient.h"
#include "vrex/Client.h"
#include "vrex/stub/StubServer.h"

namespace vrex::reliability {
namespace {

namespace enums = contracts::Enumerator;

constexpr int kThreads = 8;
constexpr int kDefaultCallsPerThread = 2000;

int CallsPerThread() {
  const char* configured = std::getenv("VREX_CONCURRENCY_CALLS");
  const int calls = configured != nullptr ? std::atoi(configured) : 0;
  return calls > 0 ? calls : kDefaultCallsPerThread;
}

// Call `call` of thread `thread`: its own factory, line and identifiers.
contracts::GeneralInformationByIdQuery QueryOf(int thread, int call) {
  contracts::GeneralInformationByIdQuery query;
  query.set_factory("Plant-" + std::to_string(thread));
  query.set_line("Line-" + std::to_string(call));
  query.add_identifier(thread);
  query.add_identifier(call);
  query.add_identifier(thread * 100000 + call);
  return query;
}

// The protobuf runtime builds its descriptors on first use, behind
// synchronisation that ThreadSanitizer cannot see in the uninstrumented
// library. Building all the tests need before any thread starts keeps its
// reports to the code under test.
void BuildDescriptors() {
  const contracts::GeneralInformationByIdQuery query = QueryOf(0, 0);
  const contracts::GeneralInformationContainer answer = EchoOf(query);
  static_cast<void>(query.ShortDebugString());
  static_cast<void>(google::protobuf::util::MessageDifferencer::Equals(answer, answer));
  static_cast<void>(contracts::MessageContainer().ShortDebugString());
  static_cast<void>(Outcome("", Outcome::Event::HttpStatusFailed, 500, "").Message());
}

// What went wrong on any thread: how often, and the first time.
struct Tally {
  std::mutex mutex;
  int problems = 0;
  std::string first;

  void Note(const std::string& problem) {
    const std::lock_guard lock(mutex);
    if (problems++ == 0) first = problem;
  }
};

class ClientsOnManyThreads : public ::testing::Test {
 protected:
  void SetUp() override {
    stub::StubServerOptions options;
    options.threads = 2 * kThreads;  // kept-alive connections each hold one
    server = std::make_unique<stub::StubServer>(options);
    server->SetResponder("GeneralInformationByIdQuery", EchoResponder());
    server->Start();
    ClientOptions clientOptions;
    clientOptions.baseUrl = server->BaseUrl();
    clientOptions.retry.maxAttempts = 1;  // every call is one request
    client = std::make_unique<Client>(clientOptions);
    BuildDescriptors();
  }
  void TearDown() override { server->Stop(); }

  // One call by the API this thread uses; on failure, what went wrong.
  std::optional<std::string> Call(bool established,
                                  const contracts::GeneralInformationByIdQuery& query,
                                  contracts::GeneralInformationContainer& answer) const {
    if (established) {
      contracts::MessageContainer status;
      answer = VrexClient::SendToServer(server->BaseUrl(), query, status, "");
      if (status.codecategory() != enums::CodeCategory_None) {
        return status.ShortDebugString();
      }
      return std::nullopt;
    }
    auto result = client->Send(query);
    if (!result) {
      return result.GetStatus().Message();
    }
    answer = std::move(result.Value());
    return std::nullopt;
  }

  void RunThread(int thread, int calls, Tally& tally) const {
    const bool established = thread % 2 == 0;  // both APIs at once, on one library
    for (int call = 0; call < calls; ++call) {
      const contracts::GeneralInformationByIdQuery query = QueryOf(thread, call);
      contracts::GeneralInformationContainer answer;
      if (const auto failure = Call(established, query, answer)) {
        tally.Note(*failure);
      } else if (!google::protobuf::util::MessageDifferencer::Equals(answer, EchoOf(query))) {
        tally.Note(query.ShortDebugString() + " got " + answer.ShortDebugString());
      }
    }
  }

  std::unique_ptr<stub::StubServer> server;
  std::unique_ptr<Client> client;
};

TEST_F(ClientsOnManyThreads, EveryThreadGetsItsOwnAnswers) {
  const int calls = CallsPerThread();
  Tally tally;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([this, thread, calls, &tally] { RunThread(thread, calls, tally); });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(tally.problems, 0) << tally.first;
  EXPECT_EQ(server->Journal().size(), static_cast<std::size_t>(kThreads * calls));
}

// Asynchronous calls share a few connections: many calls in flight, each
// answer still its caller's own, never more connections than allowed.
TEST(AsyncClientCalls, ManyCallsInFlightKeepToTheConnectionLimitAndGetTheirOwnAnswers) {
  stub::StubServer server;
  const stub::Responder echo = EchoResponder();
  server.SetResponder("GeneralInformationByIdQuery", [&echo](const stub::JournalEntry& request) {
    stub::CannedAnswer answer = echo(request);
    answer.delay = std::chrono::milliseconds(10);  // so that calls overlap
    return answer;
  });
  server.Start();
  ClientOptions options;
  options.baseUrl = server.BaseUrl();
  options.maxConnectionsPerHost = 3;
  const Client client(options);
  BuildDescriptors();
  std::vector<contracts::GeneralInformationByIdQuery> queries;
  for (int call = 0; call < 48; ++call) queries.push_back(QueryOf(call % 5, call));

  const auto results = client.SendAll(queries);

  ASSERT_EQ(results.size(), queries.size());
  for (std::size_t i = 0; i < results.size(); ++i) {
    ASSERT_TRUE(results[i].Ok()) << results[i].GetStatus().Message();
    EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(*results[i], EchoOf(queries[i])))
        << queries[i].ShortDebugString();
  }
  EXPECT_LE(server.PeakConnections(), 3u);
  EXPECT_GE(server.PeakConnections(), 1u);
  server.Stop();
}

}  // namespace
}  // namespace vrex::reliability
