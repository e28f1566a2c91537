// The fault matrix: every fault of FaultCatalog against the established Post
// and SendToServer and against vrex::Client, each call bounded so that a hang
// fails instead of stalling the run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>

#include "ApiVersionQuery.pb.h"
#include "BoundedCall.h"
#include "DeleteShiftCommand.pb.h"
#include "Endpoints.h"
#include "FaultCatalog.h"
#include "GeneralInformationContainer.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "StubFixture.h"
#include "VrexClient.h"
#include "vrex/Client.h"
#include "vrex/stub/StubServer.h"

namespace vrex::reliability {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Event = Outcome::Event;

constexpr std::string_view kTransferFailureLine = "curl_easy_perform() failed: ";

// After a failed transfer the established client writes exactly one line:
// the fixed prefix and libcurl's reason.
void ExpectTransferFailureLine(const std::string& errorOutput, bool expected) {
  if (!expected) {
    EXPECT_THAT(errorOutput, Not(HasSubstr(kTransferFailureLine)));
    return;
  }
  EXPECT_EQ(errorOutput.rfind(kTransferFailureLine, 0), 0u) << errorOutput;
  EXPECT_GT(errorOutput.size(), kTransferFailureLine.size() + 1) << "no reason: " << errorOutput;
  EXPECT_EQ(errorOutput.find('\n'), errorOutput.size() - 1) << "not one line: " << errorOutput;
}

contracts::ApiVersionQuery Query() {
  contracts::ApiVersionQuery query;
  query.set_factory("Plant-North");
  return query;
}

// What the caller holds before the call; a response still equal to it was
// left untouched.
contracts::VersionDTO CallersVersion() {
  contracts::VersionDTO version;
  version.set_major(99);
  version.set_developmentname("held by the caller");
  return version;
}

contracts::MessageContainer CallersEarlierStatus() {
  contracts::MessageContainer status;
  status.set_codecategory(enums::CodeCategory_Permission);
  status.set_detailcode(enums::Permission_Denied);
  status.set_level(enums::Critical);
  return status;
}

void ExpectStatus(const contracts::MessageContainer& status, const PostExpectation& expected) {
  EXPECT_EQ(status.codecategory(), expected.category);
  EXPECT_EQ(status.detailcode(), expected.detail);
  EXPECT_EQ(status.level(), expected.level);
}

void ExpectFate(const contracts::VersionDTO& response, ResponseFate fate,
                const std::string& answerBody) {
  switch (fate) {
    case ResponseFate::Untouched:
      EXPECT_EQ(response.SerializeAsString(), CallersVersion().SerializeAsString());
      break;
    case ResponseFate::Parsed:
      EXPECT_EQ(response.SerializeAsString(), answerBody);
      break;
    case ResponseFate::Unknown:
      break;
  }
}

std::string PrintFaultName(const ::testing::TestParamInfo<Fault>& info) { return info.param.name; }

// A stub armed with the fault, started for each test and stopped after it.
class FaultTest : public ::testing::TestWithParam<Fault> {
 protected:
  void SetUp() override {
    if (GetParam().target == Target::Stub) {
      server.SetAnswer("ApiVersionQuery", GetParam().answer);
    }
    server.Start();
    baseUrl = BaseUrlOf(GetParam().target, server);
  }
  void TearDown() override { server.Stop(); }

  /// Ends every silence of the stub, so a waiting call returns.
  std::function<void()> ReleaseServer() {
    return [this] { server.Stop(); };
  }

  /// Each call sent exactly one request: nothing was repeated and no
  /// redirect was followed.
  void ExpectRequestsReceived(std::size_t calls) const {
    if (GetParam().target == Target::Stub) {
      EXPECT_EQ(server.Journal().size(), calls);
    }
  }

  stub::StubServer server;
  std::string baseUrl;
};

// --- The established API ---------------------------------------------------

using EstablishedPostFault = FaultTest;

// SendToServer replaces the caller's status and returns no part of a failed answer.
TEST_P(EstablishedPostFault, PostAndSendToServerGiveTheDocumentedOutcome) {
  const PostExpectation& expected = GetParam().post;
  contracts::VersionDTO response = CallersVersion();
  contracts::MessageContainer status = CallersEarlierStatus();

  ::testing::internal::CaptureStderr();
  const contracts::MessageContainer posted = RunBounded(
      [&] { return VrexClient::Post(baseUrl + "/api/ApiVersionQuery", Query(), response, ""); },
      ReleaseServer());
  const std::string errorOutput = ::testing::internal::GetCapturedStderr();
  ::testing::internal::CaptureStderr();
  const contracts::VersionDTO version = RunBounded(
      [&] { return VrexClient::SendToServer(baseUrl, Query(), status, ""); }, ReleaseServer());
  ::testing::internal::GetCapturedStderr();

  ExpectStatus(posted, expected);
  ExpectFate(response, expected.response, GetParam().answer.body);
  ExpectTransferFailureLine(errorOutput, expected.transferFailureLine);
  ExpectStatus(status, expected);
  if (expected.response == ResponseFate::Untouched) {
    EXPECT_EQ(version.ByteSizeLong(), 0u) << "a failed call returns the empty result";
  } else if (expected.response == ResponseFate::Parsed) {
    EXPECT_EQ(version.SerializeAsString(), GetParam().answer.body);
  }
  ExpectRequestsReceived(2);
}

INSTANTIATE_TEST_SUITE_P(FaultMatrix, EstablishedPostFault,
                         ::testing::ValuesIn(FaultsWherePostWaits(false)), PrintFaultName);

// Post has no time-out. It waits while the server is silent, and fails once
// the server closes the connection.
using EstablishedPostSilence = FaultTest;

TEST_P(EstablishedPostSilence, PostWaitsUntilTheServerEndsTheSilence) {
  auto arrived = std::make_shared<std::promise<void>>();
  server.SetRequestObserver(
      [arrived](const stub::JournalEntry&, const stub::CannedAnswer&) { arrived->set_value(); });
  contracts::VersionDTO response = CallersVersion();

  ::testing::internal::CaptureStderr();
  auto call = std::async(std::launch::async, [&] {
    return VrexClient::Post(baseUrl + "/api/ApiVersionQuery", Query(), response, "");
  });
  const bool requestArrived =
      arrived->get_future().wait_for(kHangBound) == std::future_status::ready;
  // Only a Post that gave up on a silent server could be ready this early.
  const bool returnedDuringSilence =
      call.wait_for(std::chrono::milliseconds(200)) == std::future_status::ready;
  server.Stop();  // the stub closes the connection
  const bool returned = call.wait_for(kHangBound) == std::future_status::ready;
  const contracts::MessageContainer status = call.get();
  const std::string errorOutput = ::testing::internal::GetCapturedStderr();

  ASSERT_TRUE(requestArrived);
  EXPECT_FALSE(returnedDuringSilence);
  ASSERT_TRUE(returned);
  ExpectStatus(status, GetParam().post);
  ExpectFate(response, GetParam().post.response, GetParam().answer.body);
  ExpectTransferFailureLine(errorOutput, true);
}

INSTANTIATE_TEST_SUITE_P(FaultMatrix, EstablishedPostSilence,
                         ::testing::ValuesIn(FaultsWherePostWaits(true)), PrintFaultName);

// --- The session client ----------------------------------------------------

using SessionClientFault = FaultTest;

ClientOptions MatrixOptions(const std::string& baseUrl) {
  ClientOptions options;
  options.baseUrl = baseUrl;
  // Long beside a working exchange, even under sanitizers; short enough that
  // the silent rows cost little.
  options.connectTimeout = std::chrono::seconds(2);
  options.totalTimeout = std::chrono::seconds(2);
  options.retry.maxAttempts = 1;  // one attempt, one request per call
  return options;
}

// The ways to send a query; each owes the same outcome.
enum class Form { Generic, OnArena, Async };

Outcome SendIn(Form form, const Client& client, contracts::VersionDTO& answer) {
  switch (form) {
    case Form::Generic:  // into the caller's message, as VrexClient::Post
      return client.Send(Query(), answer);
    case Form::OnArena: {
      google::protobuf::Arena arena;
      const auto result = client.Send(Query(), arena);
      EXPECT_EQ(result.PartialValue().GetArena(), &arena);
      if (result.GetStatus().Ok() || result.PartialValue().ByteSizeLong() != 0)
        answer = result.PartialValue();
      return result.GetStatus();
    }
    case Form::Async: {
      auto result = client.SendAsync(Query()).Get();
      if (result.GetStatus().Ok() || result.PartialValue().ByteSizeLong() != 0)
        answer = result.PartialValue();
      return result.GetStatus();
    }
  }
  return Outcome("", Outcome::Event::TransportFailed, 0, "unknown form");
}

TEST_P(SessionClientFault, EveryFormGivesTheDocumentedOutcomeWithinItsTimeOut) {
  const Fault& fault = GetParam();
  const Client client(MatrixOptions(baseUrl));
  for (const Form form : {Form::Generic, Form::OnArena, Form::Async}) {
    SCOPED_TRACE(static_cast<int>(form));
    contracts::VersionDTO answer = CallersVersion();
    ::testing::internal::CaptureStderr();
    const Outcome outcome =
        RunBounded([&] { return SendIn(form, client, answer); }, ReleaseServer());
    const std::string errorOutput = ::testing::internal::GetCapturedStderr();

    EXPECT_EQ(outcome.GetEvent(), fault.client.event) << outcome.Message();
    EXPECT_EQ(outcome.HttpStatus(), fault.client.httpStatus);
    // The same status the established API reports for the same event.
    ExpectStatus(outcome.Status(), fault.post);
    ExpectFate(answer, fault.client.response, fault.answer.body);
    // The message names the request, the cause and the codes.
    EXPECT_THAT(outcome.Message(), HasSubstr("ApiVersionQuery: "));
    EXPECT_THAT(outcome.Message(), HasSubstr(outcome.ErrorText()));
    EXPECT_THAT(outcome.Message(),
                HasSubstr(enums::DetailCode_Name(outcome.Status().detailcode())));
    EXPECT_THAT(outcome.Message(), Not(HasSubstr("attempts")));  // told only after a retry
    ExpectTransferFailureLine(errorOutput, false);  // the session client prints nothing
  }
  ExpectRequestsReceived(3);
}

INSTANTIATE_TEST_SUITE_P(FaultMatrix, SessionClientFault, ::testing::ValuesIn(Faults()),
                         PrintFaultName);

// A server takes a request on a connection kept alive after a first call of
// the same form, and closes it without an answer, as a restarting one would.
// libcurl would send the request again on a fresh connection by itself; only
// the client's own attempts may.
struct ClosedUnanswered {
  std::string name;  ///< "Command...", "Query..."; "...Async": with SendAsync
  int maxAttempts;
  std::size_t requests;  ///< of the command or query that the server received
  Event event;
};

class KeptAliveConnectionClosed : public ::testing::TestWithParam<ClosedUnanswered> {};

TEST_P(KeptAliveConnectionClosed, EachAttemptReachesTheServerAtMostOnce) {
  const ClosedUnanswered& row = GetParam();
  const bool command = row.name.rfind("Command", 0) == 0;
  const bool async = row.name.find("Async") != std::string::npos;
  stub::StubServer server;
  server.SetAnswer("ApiVersionQuery", testing::Answer(200));
  stub::CannedAnswer closing = testing::Answer(200);
  closing.delivery = stub::Delivery::CloseWithoutAnswer;
  server.AddCase({command ? "DeleteShiftCommand" : "GeneralInformationQuery", "closing", "",
                  {closing, testing::Answer(200)}});
  server.Start();
  ClientOptions options = MatrixOptions(server.BaseUrl());
  options.retry.maxAttempts = row.maxAttempts;
  const Client client(options);
  ASSERT_TRUE(async ? client.SendAsync(Query()).Get().Ok() : client.Send(Query()).Ok());

  const contracts::DeleteShiftCommand deletion;
  const contracts::GeneralInformationQuery query;
  const Outcome outcome = RunBounded(
      [&] {
        contracts::GeneralInformationContainer answer;
        if (command) return async ? client.SendAsync(deletion).Get() : client.Send(deletion);
        return async ? client.SendAsync(query).Get().GetStatus() : client.Send(query, answer);
      },
      [&] { server.Stop(); });

  EXPECT_EQ(outcome.GetEvent(), row.event) << outcome.Message();
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 1 + row.requests);
  EXPECT_EQ(journal[1].connection, journal[0].connection) << "not sent on the kept-alive one";
}

INSTANTIATE_TEST_SUITE_P(
    FaultMatrix, KeptAliveConnectionClosed,
    ::testing::Values(ClosedUnanswered{"Command", 3, 1, Event::NoAnswer},
                      ClosedUnanswered{"CommandAsync", 3, 1, Event::NoAnswer},
                      ClosedUnanswered{"QueryOnce", 1, 1, Event::NoAnswer},
                      ClosedUnanswered{"QueryOnceAsync", 1, 1, Event::NoAnswer},
                      ClosedUnanswered{"QueryRetried", 3, 2, Event::Succeeded},
                      ClosedUnanswered{"QueryRetriedAsync", 3, 2, Event::Succeeded}),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace vrex::reliability
