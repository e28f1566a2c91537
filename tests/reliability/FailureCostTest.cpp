// What failed calls leave behind. The established Post keeps its transfer
// handle after a failed transfer, by design; vrex::Client keeps nothing.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "Endpoints.h"
#include "LoopbackPort.h"
#include "FaultCatalog.h"
#include "ProcessResources.h"
#include "VrexClient.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"
#include "vrex/stub/StubServer.h"

namespace vrex::reliability {
namespace {

// What the established Post keeps per failed transfer, as documented: its
// transfer handle (about 14 KB) with two descriptors.
constexpr std::size_t kPostDescriptorsPerFailure = 2;
constexpr std::size_t kPostHeapBytesPerFailureBound = 32 * 1024;
// Less than one failed Post keeps: what may come and go in libcurl's and the
// allocator's caches, independent of the number of failures.
constexpr std::size_t kSessionHeapSlack = 8 * 1024;

struct Usage {
  std::size_t descriptors;
  std::size_t heapBytes;
};

Usage Measure() { return {OpenDescriptorCount(), HeapBytesInUse()}; }

std::size_t Growth(std::size_t before, std::size_t after) {
  return after > before ? after - before : 0;
}

void Report(const char* who, int failures, const Usage& before, const Usage& after) {
  std::printf("[ figures  ] %s: %d failures kept %zu descriptors and %zu heap bytes\n", who,
              failures, Growth(before.descriptors, after.descriptors),
              Growth(before.heapBytes, after.heapBytes));
}

TEST(FailureCost, EstablishedPostKeepsItsHandleAndTwoDescriptorsPerFailedTransfer) {
  constexpr int kFailures = 50;
  const std::string url = RefusedBaseUrl() + "/api/ApiVersionQuery";
  const auto failOnce = [&url] {
    contracts::VersionDTO response;
    return VrexClient::Post(url, contracts::ApiVersionQuery(), response, "").codecategory();
  };

  ::testing::internal::CaptureStderr();  // one line per failure
  failOnce();  // sets up what all later calls share
  const Usage before = Measure();
  int failed = 0;
  for (int i = 0; i < kFailures; ++i) {
    failed += failOnce() == enums::CodeCategory_Backend ? 1 : 0;
  }
  const Usage after = Measure();
  ::testing::internal::GetCapturedStderr();

  Report("established Post", kFailures, before, after);
  ASSERT_EQ(failed, kFailures);
  EXPECT_EQ(Growth(before.descriptors, after.descriptors), kFailures * kPostDescriptorsPerFailure);
  EXPECT_GT(Growth(before.heapBytes, after.heapBytes), 0u) << "the handle is kept by design";
  EXPECT_LE(Growth(before.heapBytes, after.heapBytes), kFailures * kPostHeapBytesPerFailureBound);
}

// Each kind of failure a session client can meet on a live server, the last
// one leaving no connection open.
std::vector<stub::CannedAnswer> FailingAnswers() {
  std::vector<stub::CannedAnswer> answers;
  for (const Fault& fault : Faults()) {
    if (fault.target == Target::Stub && fault.client.event != Outcome::Event::Succeeded &&
        fault.answer.delivery != stub::Delivery::CloseWithoutAnswer) {
      answers.push_back(fault.answer);
    }
  }
  stub::CannedAnswer hangUp;
  hangUp.delivery = stub::Delivery::CloseWithoutAnswer;
  answers.push_back(hangUp);
  return answers;
}

TEST(FailureCost, SessionClientKeepsNothingPerFailure) {
  constexpr int kRounds = 5;
  // A fixed port, so the stub can be stopped, closing all of its connections,
  // before each count, and started again.
  stub::StubServerOptions serverOptions;
  serverOptions.port = vrex::testing::FreeLoopbackPort();
  // A silent answer holds its serving thread until the stub stops.
  serverOptions.threads = 4 * kRounds;
  stub::StubServer server(serverOptions);
  server.Start();
  ClientOptions options;
  options.baseUrl = server.BaseUrl();
  options.totalTimeout = std::chrono::milliseconds(200);  // ends the silent answers
  options.retry.maxAttempts = 1;
  const Client client(options);
  options.baseUrl = RefusedBaseUrl();
  const Client refused(options);
  server.Stop();

  const std::vector<stub::CannedAnswer> answers = FailingAnswers();
  int failures = 0;
  const auto runRounds = [&](int rounds) {
    server.Start();
    for (int round = 0; round < rounds; ++round) {
      for (const stub::CannedAnswer& answer : answers) {
        server.SetAnswer("ApiVersionQuery", answer);
        failures += client.Send(contracts::ApiVersionQuery()) ? 0 : 1;
      }
      failures += refused.Send(contracts::ApiVersionQuery()) ? 0 : 1;
    }
    server.Stop();
    server.ClearJournal();
  };

  // The first rounds make the handles, caches and journal room that the
  // same number of rounds again reuses.
  runRounds(kRounds);
  const Usage before = Measure();
  failures = 0;
  runRounds(kRounds);
  const Usage after = Measure();

  Report("vrex::Client", failures, before, after);
  ASSERT_EQ(failures, kRounds * static_cast<int>(answers.size() + 1));
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_LE(Growth(before.heapBytes, after.heapBytes), kSessionHeapSlack);
}

}  // namespace
}  // namespace vrex::reliability
