// Many calls in flight on one client: results matched to their requests,
// failures kept to their own call, cancellation and destruction under way.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
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
// "Fail-..." with 500, "Busy-..." with 503 (retried), "Slow-..." after
// kForever, anything else with one test whose serial is the factory, after a
// few milliseconds that vary.
stub::CannedAnswer EchoFactory(const stub::JournalEntry& request) {
  contracts::GeneralInformationQuery query;
  query.ParseFromString(request.body);
  const std::string& factory = query.factory();
  if (factory.rfind("Fail-", 0) == 0) return Answer(500);
  if (factory.rfind("Busy-", 0) == 0) return Answer(503);
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

void AwaitRequests(const stub::StubServer& server, std::size_t count) {
  for (int wait = 0; wait < 3000 && server.Journal().size() < count; ++wait) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

// A back-off of 30 to 60 s and a queue behind calls that hold both
// connections for minutes: only calls that end when cancelled end within 10 s.
TEST_F(ClientAsync, CancellingEndsAQueuedOrBackingOffCallAtOnce) {
  ClientOptions options = Options();
  options.totalTimeout = options.retry.maxTotalTime = std::chrono::minutes(5);
  options.maxConnectionsPerHost = options.retry.maxAttempts = 2;
  options.retry.initialDelay = options.retry.maxDelay = std::chrono::minutes(1);
  const Client client(options);
  auto backingOff = client.SendAsync(QueryFor("Busy-1"));
  auto slow = client.SendAsync(QueryFor("Slow-1"));
  AwaitRequests(server, 2);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the 503 comes, back-off starts
  auto alsoSlow = client.SendAsync(QueryFor("Slow-2"));
  AwaitRequests(server, 3);
  auto queued = client.SendAsync(QueryFor("Plant-Q"));
  backingOff.Cancel();
  queued.Cancel();
  for (auto* call : {&backingOff, &queued}) {
    ASSERT_TRUE(call->WaitFor(std::chrono::seconds(10)));
    EXPECT_EQ(call->Get().GetStatus().GetEvent(), Event::Cancelled);
  }
  EXPECT_EQ(server.Journal().size(), 3u);
}

// The last copy of a client let go while calls are under way: in the
// callback of call `releasing`, or (none) on the test's thread once the
// server saw 12 requests. Every callback must run exactly once before the
// destructor returns, and the wire trace must be silent after it.
struct LetGo {
  std::string name;
  std::size_t connections;
  int maxAttempts;
  std::vector<std::string> factories;  ///< one call each, in this order
  std::optional<std::size_t> releasing;
  std::optional<std::size_t> cancelled;  ///< a call cancelled at once
};

void PrintTo(const LetGo& row, std::ostream* out) { *out << row.name; }

// What the calls of one round saw; shared with the callbacks and the trace.
struct Round {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<int> callbacks;
  int late = 0;  // callbacks and trace lines after the destructor returned
  bool started = false;  // every call is started: the test's thread is done with the client
  bool gone = false;
  std::unique_ptr<Client> client;

  void Note(std::optional<std::size_t> call) {
    const std::lock_guard<std::mutex> lock(mutex);
    late += gone ? 1 : 0;
    if (call) ++callbacks[*call];
  }
  bool Await(const bool& flag) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, kHangBound, [&] { return flag; });
  }
  void Set(bool& flag) {
    const std::lock_guard<std::mutex> lock(mutex);
    flag = true;
    changed.notify_all();
  }
  void Release() {
    Await(started);
    client.reset();
    Set(gone);
  }
};

class ClientLetGo : public ClientAsync, public ::testing::WithParamInterface<LetGo> {};

TEST_P(ClientLetGo, EveryCallbackRunsOnceBeforeTheDestructorReturns) {
  const LetGo& row = GetParam();
  for (int roundNumber = 0; roundNumber < 20; ++roundNumber) {
    auto round = std::make_shared<Round>();
    round->callbacks.assign(row.factories.size(), 0);
    ClientOptions options = Options();
    options.maxConnectionsPerHost = row.connections;
    options.retry.maxAttempts = row.maxAttempts;
    options.onWireTrace = [round](WireTraceKind, std::string_view) { round->Note({}); };
    round->client = std::make_unique<Client>(options);
    server.ClearJournal();
    std::vector<CallCanceller> calls;
    for (std::size_t i = 0; i < row.factories.size(); ++i) {
      calls.push_back(round->client->SendAsync(QueryFor(row.factories[i]), [round, i, &row](auto) {
        round->Note(i);
        if (row.releasing == i) round->Release();
      }));
    }
    if (row.cancelled) calls[*row.cancelled].Cancel();
    round->Set(round->started);
    if (!row.releasing) {
      AwaitRequests(server, 12);
      round->Release();
    }
    ASSERT_TRUE(round->Await(round->gone));
    const std::lock_guard<std::mutex> lock(round->mutex);
    EXPECT_EQ(round->callbacks, std::vector<int>(row.factories.size(), 1)) << roundNumber;
    EXPECT_EQ(round->late, 0) << roundNumber;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lifetimes, ClientLetGo,
    ::testing::Values(
        LetGo{"InTheCallbackOfARunningCall", 2, 1, {"Plant-A", "Slow-1", "Slow-2", "Slow-3"}, 0},
        LetGo{"InTheCallbackOfAQueuedCall", 1, 1, {"Plant-A", "Plant-B", "Slow-1", "Slow-2"}, 1},
        LetGo{"InTheCallbackOfACancelledQueuedCall", 1, 1, {"Slow-0", "Slow-1", "Slow-2"}, 1, 1},
        LetGo{"InTheCallbackOfARetriedCall", 3, 3, {"Busy-A", "Slow-1", "Busy-B", "Slow-2"}, 0},
        LetGo{"OnAnotherThreadDuringRetries", 2, 1000, {"Busy-A", "Busy-B", "Busy-C"}}),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace vrex::testing
