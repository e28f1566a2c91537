// Many calls in flight on one client: results matched to their requests,
// failures kept to their own call, cancellation and destruction under way.
#include <google/protobuf/arena.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

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
constexpr int kBigAnswer = 20000;  // about 400 kB

// How the stub answers a GeneralInformationQuery, by the factory it names:
// "Fail-..." with 500, "Busy-..." with 503 (retried), "Slow-..." after
// kForever, "Cut-..." with the answer below and a broken field after it,
// "Big-..." with kBigAnswer tests, anything else with one test whose serial
// is the factory, after a few milliseconds that vary.
stub::CannedAnswer EchoFactory(const stub::JournalEntry& request) {
  contracts::GeneralInformationQuery query;
  query.ParseFromString(request.body);
  const std::string& factory = query.factory();
  if (factory.rfind("Fail-", 0) == 0) return Answer(500);
  if (factory.rfind("Busy-", 0) == 0) return Answer(503);
  contracts::GeneralInformationContainer answer;
  const int tests = factory.rfind("Big-", 0) == 0 ? kBigAnswer : 1;
  for (int i = 0; i < tests; ++i) answer.add_values()->set_serial(factory);
  if (factory.rfind("Cut-", 0) == 0) return Answer(200, answer.SerializeAsString() + "\xff");
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
  std::vector<std::string> factories;
  for (int i = 0; i < 60; ++i) {
    static const char* const kPrefixes[] = {"", "", "", "Fail-", "", "Cut-", "", "Slow-", "", ""};
    factories.push_back(kPrefixes[i % 10] + ("Plant-" + std::string(i % 13, 'x')) +
                        std::to_string(i));
  }
  std::vector<contracts::GeneralInformationQuery> queries;
  for (const std::string& factory : factories) queries.push_back(QueryFor(factory));

  // The answers live on arenas of their own: they outlive the client, and move.
  std::vector<Result<contracts::GeneralInformationContainer, Outcome>> results;
  for (auto& result : Client(Options()).SendAll(queries)) results.push_back(std::move(result));

  ASSERT_EQ(results.size(), factories.size());
  for (std::size_t i = 0; i < results.size(); ++i) {
    SCOPED_TRACE(factories[i]);
    const bool cut = factories[i].rfind("Cut-", 0) == 0;
    const Event expected = factories[i].rfind("Fail-", 0) == 0   ? Event::HttpStatusFailed
                           : factories[i].rfind("Slow-", 0) == 0 ? Event::NoAnswer
                           : cut                                 ? Event::AnswerUnreadable
                                                                 : Event::Succeeded;
    EXPECT_EQ(results[i].GetStatus().GetEvent(), expected) << results[i].GetStatus().Message();
    const auto copy = results[i];              // a message of its own, off the arena
    const auto& answer = copy.PartialValue();  // or what was read before the broken field
    EXPECT_EQ(answer.GetArena(), nullptr);
    ASSERT_EQ(answer.values_size(), expected == Event::Succeeded || cut ? 1 : 0);
    for (const auto& test : answer.values()) EXPECT_EQ(test.serial(), factories[i]);
    if (expected == Event::Succeeded) continue;
    EXPECT_THROW((void)results[i].Value(), BadResultAccess);
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

// The last copy of a client let go in the callback of call `releasing`, or
// on the test's thread, after call `cancelled` was cancelled. Every callback
// must run once before the destructor returns, and a cancelled call end long
// before its back-off (60 to 120 s) or queue (behind calls that never end).
struct LetGo {
  std::string name;
  std::size_t connections;
  int maxAttempts;
  int backOffSeconds;  ///< each wait is between half of it and all of it
  std::vector<std::string> factories;  ///< one call each, in this order
  std::optional<std::size_t> releasing, cancelled;
  std::size_t requestsFirst = 0;  ///< the server saw them before the cancel or let-go
};

// What one round saw; shared with the callbacks and the trace.
struct Round {
  std::array<std::atomic<int>, 4> callbacks{};
  std::atomic<int> faults{0};  // callbacks or trace lines after the destructor, wrong ends
  std::atomic<bool> gone{false};
  std::promise<void> started, released;  // started: the test's thread is done with the client
  std::shared_future<void> whenStarted = started.get_future().share();
  std::unique_ptr<Client> client;

  void Release() {
    whenStarted.wait();
    client.reset();
    gone = true;
    released.set_value();
  }
};

class ClientLetGo : public ClientAsync, public ::testing::WithParamInterface<LetGo> {};

TEST_P(ClientLetGo, EveryCallbackRunsOnceBeforeTheDestructorReturns) {
  const LetGo& row = GetParam();
  for (int roundNumber = 0; roundNumber < 20; ++roundNumber) {
    auto round = std::make_shared<Round>();
    auto whenReleased = round->released.get_future();
    ClientOptions options = Options();
    options.totalTimeout = options.retry.maxTotalTime = std::chrono::minutes(5);
    options.maxConnectionsPerHost = row.connections;
    options.retry.maxAttempts = row.maxAttempts;
    options.retry.initialDelay = options.retry.maxDelay = std::chrono::seconds(row.backOffSeconds);
    options.onWireTrace = [round](WireTraceKind, auto) { round->faults += round->gone; };
    round->client = std::make_unique<Client>(options);
    server.ClearJournal();
    std::vector<CallCanceller> calls;
    for (std::size_t i = 0; i < row.factories.size(); ++i) {
      calls.push_back(round->client->SendAsync(QueryFor(row.factories[i]), [=, &row](auto result) {
        round->faults += round->gone;
        ++round->callbacks[i];
        const bool slow = row.factories[i][0] == 'S';  // never answered: it can only be cancelled
        round->faults += slow && result.GetStatus().GetEvent() != Event::Cancelled;
        if (row.releasing == i) round->Release();
      }));
    }
    for (int wait = 0; wait < 3000 && server.Journal().size() < row.requestsFirst; ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (row.requestsFirst > 0) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    if (row.cancelled) calls[*row.cancelled].Cancel();
    round->started.set_value();
    if (!row.releasing) round->Release();

    ASSERT_EQ(whenReleased.wait_for(kHangBound), std::future_status::ready) << roundNumber;
    for (std::size_t i = 0; i < row.factories.size(); ++i) EXPECT_EQ(round->callbacks[i], 1) << i;
    EXPECT_EQ(round->faults, 0) << roundNumber;
  }
}

// The blocks of a large answer's arena. Each thread but the test's that takes
// one is noted and waits until the test lets it go: so the threads that parse
// the answer wait side by side.
struct HeldParse {
  static inline std::mutex mutex;
  static inline std::condition_variable changed;
  static inline std::set<std::thread::id> threads;
  static inline std::thread::id test;
  static inline bool held = true;

  static void* Block(std::size_t bytes) {
    std::unique_lock lock(mutex);
    if (held && std::this_thread::get_id() != test) {
      threads.insert(std::this_thread::get_id());
      changed.notify_all();
      changed.wait_for(lock, kHangBound, [] { return !held; });
    }
    return ::operator new(bytes);
  }
  static bool Waiting(std::size_t count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, kHangBound, [count] { return threads.size() >= count; });
  }
  static void Release() {
    const std::lock_guard lock(mutex);
    held = false;
    changed.notify_all();
  }
};

// A large answer is parsed on the parsing threads only: in slices on all of
// them at once, as Send does; in one piece on one, while another parses a
// small answer and the event thread goes on.
TEST_F(ClientAsync, ALargeAnswerIsParsedOnAllParsingThreadsAndOffTheEventThread) {
  for (const auto& [parallelFrom, parsing] :
       {std::pair{std::size_t{64} << 10, 3U}, std::pair{std::size_t{64} << 20, 1U}}) {
    SCOPED_TRACE(parallelFrom);
    HeldParse::threads.clear();
    HeldParse::test = std::this_thread::get_id();
    HeldParse::held = true;
    ClientOptions options = Options();
    options.totalTimeout = kHangBound;  // however slow the machine, the large answer comes
    options.parsing = {parallelFrom, 3};
    const Client client(options);
    google::protobuf::ArenaOptions blocks;
    blocks.block_alloc = &HeldParse::Block;
    blocks.block_dealloc = [](void* block, std::size_t) { ::operator delete(block); };
    google::protobuf::Arena arena(blocks);
    auto big = client.SendAsync(QueryFor("Big-1"), arena);
    const bool waiting = HeldParse::Waiting(parsing);
    std::promise<std::thread::id> smallEnded;
    client.SendAsync(QueryFor("Plant-Small"), [&](auto result) {
      EXPECT_TRUE(result.Ok()) << result.GetStatus().Message();
      smallEnded.set_value(std::this_thread::get_id());
    });
    auto eventThread = smallEnded.get_future();
    const bool smallWentOn =
        parsing == 3 || eventThread.wait_for(kHangBound) == std::future_status::ready;
    HeldParse::Release();
    EXPECT_TRUE(waiting) << HeldParse::threads.size() << " threads parsed at once";
    EXPECT_TRUE(smallWentOn) << "the event thread waited for the large answer's parse";
    EXPECT_EQ(HeldParse::threads.count(eventThread.get()), 0U);
    const auto result = GetWithin(big);
    ASSERT_TRUE(result.Ok()) << result.GetStatus().Message();
    EXPECT_EQ(result->values_size(), kBigAnswer);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lifetimes, ClientLetGo,
    ::testing::Values(
        LetGo{"InTheCallbackOfARunningCall", 2, 1, 0, {"Plant-A", "Slow-1", "Slow-2"}, 0, {}},
        LetGo{"InTheCallbackOfAQueuedCall", 1, 1, 0, {"Plant-A", "Plant-B", "Slow-1"}, 1, {}},
        LetGo{"InTheCallbackOfACancelledQueuedCall", 1, 1, 0, {"Slow-0", "Slow-1", "Slow-2"}, 1, 1},
        LetGo{"InTheCallbackOfACallCancelledInItsBackOff", 2, 2, 120,
              {"Busy-A", "Slow-1", "Slow-2"}, 0, 0, 2},
        LetGo{"InTheCallbackOfARetriedCall", 3, 3, 0, {"Busy-A", "Slow-1", "Busy-B", "Slow-2"}, 0, {}},
        LetGo{"OnAnotherThreadDuringRetries", 2, 1000, 0, {"Busy-A", "Busy-B", "Busy-C"},
              std::nullopt, std::nullopt, 12}),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace vrex::testing
