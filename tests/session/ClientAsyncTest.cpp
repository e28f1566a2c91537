// Many calls in flight on one client: results matched to their requests,
// failures kept to their own call, cancellation and destruction under way.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "AddShiftCommand.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "TestSupport.h"
#include "vrex/Client.h"
#include "vrex/stub/StubServer.h"

namespace vrex::testing {
namespace {

namespace contracts = Korvan::KQ::DataContracts;
using Event = Outcome::Event;

// Bound on waiting for a result; reached only when a call hangs.
constexpr std::chrono::seconds kHangBound{30};
// Longer than any test runs; the server's Stop cuts it short.
constexpr std::chrono::minutes kForever{10};

// How the stub answers a GeneralInformationQuery, by the factory it names:
// "Fail-..." with 500, "Slow-..." after kForever, anything else with one
// test whose serial is the factory, after a few milliseconds that vary.
stub::CannedAnswer EchoFactory(const stub::JournalEntry& request) {
  contracts::GeneralInformationQuery query;
  query.ParseFromString(request.body);
  const std::string& factory = query.factory();
  if (factory.rfind("Fail-", 0) == 0) return Answer(500);
  contracts::GeneralInformationContainer answer;
  answer.add_values()->set_serial(factory);
  stub::CannedAnswer canned = stub::MessageAnswer(answer);
  canned.delay = factory.rfind("Slow-", 0) == 0 ? std::chrono::milliseconds(kForever)
                                                : std::chrono::milliseconds(factory.size() % 7);
  return canned;
}

contracts::GeneralInformationQuery QueryFor(const std::string& factory) {
  contracts::GeneralInformationQuery query;
  query.set_factory(factory);
  return query;
}

class ClientAsync : public StubFixture {
 protected:
  void SetUp() override {
    server.SetResponder("GeneralInformationQuery", EchoFactory);
    StubFixture::SetUp();
  }

  ClientOptions Options() const {
    ClientOptions options = QuickOptions(server.BaseUrl());
    options.totalTimeout = std::chrono::milliseconds(500);  // how the "Slow-" calls end
    return options;
  }
};

template <class R>
R GetWithin(AsyncCall<R>& call) {
  EXPECT_TRUE(call.WaitFor(kHangBound)) << "the call never ended";
  return call.Get();
}

TEST_F(ClientAsync, ResultsMatchTheirRequestsAndFailuresStayWithTheirCall) {
  const Client client(Options());
  std::vector<std::string> factories;
  for (int i = 0; i < 60; ++i) {
    const std::string prefix = i % 10 == 3 ? "Fail-" : i % 10 == 7 ? "Slow-" : "";
    factories.push_back(prefix + "Plant-" + std::string(i % 13, 'x') + std::to_string(i));
  }
  std::vector<contracts::GeneralInformationQuery> queries;
  for (const std::string& factory : factories) queries.push_back(QueryFor(factory));

  const auto results = client.SendAll(queries);

  ASSERT_EQ(results.size(), factories.size());
  for (std::size_t i = 0; i < results.size(); ++i) {
    SCOPED_TRACE(factories[i]);
    const Event expected = factories[i].rfind("Fail-", 0) == 0   ? Event::HttpStatusFailed
                           : factories[i].rfind("Slow-", 0) == 0 ? Event::NoAnswer
                                                                 : Event::Succeeded;
    EXPECT_EQ(results[i].GetStatus().GetEvent(), expected) << results[i].GetStatus().Message();
    if (expected == Event::Succeeded) {
      ASSERT_EQ(results[i]->values_size(), 1);
      EXPECT_EQ(results[i]->values(0).serial(), factories[i]);
    }
  }
}

TEST_F(ClientAsync, CancelledCallsEndAsCancelledAndOthersGoOn) {
  const Client client(Options());
  auto slow = client.SendAsync(QueryFor("Slow-1"));
  auto alsoSlow = client.SendAsync(QueryFor("Slow-2"));
  slow.Cancel();
  EXPECT_EQ(GetWithin(slow).GetStatus().GetEvent(), Event::Cancelled);
  auto quick = client.SendAsync(QueryFor("Plant-North"));
  EXPECT_TRUE(GetWithin(quick).Ok());
  client.CancelAll();
  EXPECT_EQ(GetWithin(alsoSlow).GetStatus().GetEvent(), Event::Cancelled);
}

TEST_F(ClientAsync, DestroyingTheClientEndsEveryCallUnderWayAsCancelled) {
  std::vector<AsyncCall<Result<contracts::GeneralInformationContainer, Outcome>>> calls;
  std::vector<AsyncCall<Outcome>> commands;
  {
    ClientOptions options = Options();
    options.totalTimeout = std::chrono::minutes(5);
    options.maxConnectionsPerHost = 2;  // the rest still wait in the queue
    const Client client(options);
    for (int i = 0; i < 6; ++i) calls.push_back(client.SendAsync(QueryFor("Slow-" + std::to_string(i))));
    commands.push_back(client.SendAsync(contracts::AddShiftCommand()));
  }
  for (auto& call : calls) {
    EXPECT_EQ(GetWithin(call).GetStatus().GetEvent(), Event::Cancelled);
  }
  // Done before the client went, or cancelled with it: either way it ended.
  const Outcome command = GetWithin(commands[0]);
  EXPECT_TRUE(command.Ok() || command.GetEvent() == Event::Cancelled) << command.Message();
}

}  // namespace
}  // namespace vrex::testing
