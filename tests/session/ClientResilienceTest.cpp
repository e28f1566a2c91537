// Retries, time-outs, connection reuse and concurrent use, against the stub
// server on 127.0.0.1.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "AddShiftCommand.pb.h"
#include "ApiVersionQuery.pb.h"
#include "PropagateTopologyModelCommand.pb.h"
#include "PropagateTopologyModelContainer.pb.h"
#include "TestSupport.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"

namespace {

namespace contracts = Korvan::KQ::DataContracts;
using vrex::Outcome;
using vrex::stub::StubServer;
using vrex::testing::QuickOptions;

// Answers every request of `types` with `statuses` in turn (one count for
// all of them), then with 200.
void Script(StubServer& server, std::vector<int> statuses,
            std::initializer_list<std::string_view> types = {"ApiVersionQuery"}) {
  auto calls = std::make_shared<std::atomic<std::size_t>>(0);
  for (const std::string_view type : types) {
    server.SetResponder(type, [statuses, calls](const vrex::stub::JournalEntry&) {
      const std::size_t call = (*calls)++;
      return vrex::testing::Answer(call < statuses.size() ? statuses[call] : 200);
    });
  }
  server.Start();
}

std::size_t Connections(const StubServer& server) {
  std::set<std::uint64_t> connections;
  for (const auto& request : server.Journal()) connections.insert(request.connection);
  return connections.size();
}

TEST(ClientRetries, RepeatsQueriesOnlyAfterGatewayStatusesAndNeverCommands) {
  struct Case {
    std::vector<int> statuses;
    int expectedAttempts;
    int expectedStatus;
  };
  const Case cases[] = {
      {{503, 502, 504}, 4, 200},
      {{503, 503, 503, 503, 503}, 4, 503},  // the attempts run out
      {{500}, 1, 500},
      {{401}, 1, 401},
  };
  // The asynchronous form waits out its back-off as a timer of its event loop.
  for (const bool async : {false, true}) {
    for (const Case& row : cases) {
      SCOPED_TRACE(::testing::PrintToString(row.statuses) + (async ? " async" : ""));
      StubServer server;
      Script(server, row.statuses);
      const vrex::Client client(QuickOptions(server.BaseUrl(), 4));
      const Outcome outcome = async
                                  ? client.SendAsync(contracts::ApiVersionQuery()).Get().GetStatus()
                                  : client.Send(contracts::ApiVersionQuery()).GetStatus();
      EXPECT_EQ(server.Journal().size(), static_cast<std::size_t>(row.expectedAttempts));
      EXPECT_EQ(outcome.Attempts(), row.expectedAttempts);
      EXPECT_EQ(outcome.HttpStatus(), row.expectedStatus);
    }

    StubServer commandServer;
    Script(commandServer, {503, 503}, {"AddShiftCommand", "PropagateTopologyModelCommand"});
    const vrex::Client client(QuickOptions(commandServer.BaseUrl(), 4));
    const Outcome command = async ? client.SendAsync(contracts::AddShiftCommand()).Get()
                                  : client.Send(contracts::AddShiftCommand());
    EXPECT_EQ(command.Attempts(), 1);
    // Answered like a query, yet it changes the topology.
    EXPECT_EQ(client.Send(contracts::PropagateTopologyModelCommand()).GetStatus().Attempts(), 1);
    EXPECT_EQ(commandServer.Journal().size(), 2u);
  }
}

// A refused connection and a server that never answers (its call times out)
// are both worth another attempt, within the attempt and time bounds.
TEST(ClientRetries, RepeatsAfterTransportFailuresAndTimeOutsWithinTheBounds) {
  StubServer server;
  vrex::stub::CannedAnswer late = vrex::testing::Answer(200);
  late.delay = std::chrono::minutes(10);  // cut short when the server stops
  server.SetAnswer("ApiVersionQuery", late);
  server.Start();
  for (const std::string& url : {vrex::testing::UnreachableUrl(), server.BaseUrl()}) {
    vrex::ClientOptions options = QuickOptions(url, 3);
    options.totalTimeout = std::chrono::milliseconds(100);
    EXPECT_EQ(vrex::Client(options).Send(contracts::ApiVersionQuery()).GetStatus().Attempts(), 3);
    options.retry.initialDelay = std::chrono::milliseconds(10);
    options.retry.maxTotalTime = std::chrono::milliseconds(0);  // no time for a second attempt
    EXPECT_EQ(vrex::Client(options).Send(contracts::ApiVersionQuery()).GetStatus().Attempts(), 1);
  }
  // An answer too large would be as large again: not repeated.
  server.SetAnswer("ApiVersionQuery", vrex::testing::Answer(200, std::string(100, 'x')));
  vrex::ClientOptions options = QuickOptions(server.BaseUrl(), 3);
  options.maxAnswerBytes = 10;
  EXPECT_EQ(vrex::Client(options).Send(contracts::ApiVersionQuery()).GetStatus().Attempts(), 1);
}

TEST(ClientConnections, ReusesOneConnectionForSequentialCallsFailedOnesIncluded) {
  StubServer server;
  Script(server, {200, 404, 500, 200, 401});
  const vrex::Client client(QuickOptions(server.BaseUrl()));
  for (int i = 0; i < 20; ++i) {
    (void)client.Send(contracts::ApiVersionQuery());  // the answers do not matter here
  }
  EXPECT_EQ(server.Journal().size(), 20u);
  EXPECT_EQ(Connections(server), 1u);
}

}  // namespace
