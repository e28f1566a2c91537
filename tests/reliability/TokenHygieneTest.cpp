// The gateway token, compiled in or given in ClientOptions, never shows in
// anything the library prints or hands back, whatever the server does, even
// a server that quotes the token back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "Endpoints.h"
#include "FaultCatalog.h"
#include "StubFixture.h"
#include "VrexClient.h"
#include "vrex/Client.h"

namespace vrex::reliability {
namespace {

constexpr std::string_view kTokenHeader = "GatewayApiAuthentication";
// Any run of this many characters of the token counts as showing it.
constexpr std::size_t kTokenWindow = 20;

// The answer of a proxy that lists the request's headers, token included.
stub::CannedAnswer QuotingHeaders(int status, const stub::JournalEntry& request) {
  stub::CannedAnswer answer =
      testing::Answer(status, "<html><body><h1>Request rejected</h1><pre>\n", "text/html");
  for (const stub::HeaderField& header : request.headers) {
    answer.body += header.name + ": " + header.value + "\n";
  }
  answer.body += "</pre></body></html>\n";
  return answer;
}

// Ways a call can end, each a chance to leak the token.
struct Exposure {
  const char* name;
  Target target;
  int quotingStatus;  ///< 0: the version, sent as `delivery` says; else a page quoting the headers
  stub::Delivery delivery;
};

const Exposure kExposures[] = {
    {"Succeeded", Target::Stub, 0, stub::Delivery::Whole},
    {"RejectedWithTheTokenQuoted", Target::Stub, 401, stub::Delivery::Whole},
    {"UnreadableBodyQuotingTheToken", Target::Stub, 200, stub::Delivery::Whole},
    {"ServerFailureQuotingTheToken", Target::Stub, 502, stub::Delivery::Whole},
    {"BrokenOffMidBody", Target::Stub, 0, stub::Delivery::CloseMidBody},
    {"RefusedConnection", Target::RefusedPort, 0, stub::Delivery::Whole},
    {"UnknownHost", Target::UnknownHost, 0, stub::Delivery::Whole},
};

void Arm(stub::StubServer& server, const Exposure& exposure) {
  if (exposure.quotingStatus != 0) {
    server.SetResponder("ApiVersionQuery",
                        [status = exposure.quotingStatus](const stub::JournalEntry& request) {
                          return QuotingHeaders(status, request);
                        });
    return;
  }
  server.ClearResponder("ApiVersionQuery");
  stub::CannedAnswer answer = testing::Answer(200, ServerVersion().SerializeAsString());
  answer.delivery = exposure.delivery;
  server.SetAnswer("ApiVersionQuery", answer);
}

::testing::AssertionResult ShowsNoPartOf(const std::string& token, const std::string& text) {
  for (std::size_t at = 0; at + kTokenWindow <= token.size(); ++at) {
    if (text.find(token.substr(at, kTokenWindow)) != std::string::npos) {
      return ::testing::AssertionFailure() << "shows the token: " << text;
    }
  }
  return ::testing::AssertionSuccess();
}

// The token as the server received it.
std::string TokenReceivedBy(const stub::StubServer& server) {
  const std::vector<stub::JournalEntry> journal = server.Journal();
  if (journal.empty() || journal.front().FindHeader(kTokenHeader) == nullptr) {
    return {};
  }
  return *journal.front().FindHeader(kTokenHeader);
}

ClientOptions SessionOptions(const std::string& baseUrl, std::optional<std::string> token) {
  ClientOptions options;
  options.baseUrl = baseUrl;
  options.retry.maxAttempts = 1;
  options.totalTimeout = std::chrono::seconds(20);
  options.token = std::move(token);
  return options;
}

const std::string kOwnToken = "session-token-4f1c9a7e2b8d6035-e91a7c44d2b05f86-a3d7e1c9b5f20864";
const std::optional<std::string> kNoToken;  // the build's

using TokenHygiene = StubFixture;

// The established calls, and the session client with the build's token and
// with a token of its options.
TEST_F(TokenHygiene, NoCallPrintsNorReportsTheToken) {
  contracts::MessageContainer probe;
  VrexClient::CheckVersion(server.BaseUrl(), probe, "");
  const std::string buildToken = TokenReceivedBy(server);
  ASSERT_EQ(buildToken.size(), 300u) << "the build's token reached the server";
  server.ClearJournal();
  (void)Client(SessionOptions(server.BaseUrl(), kOwnToken)).Send(contracts::ApiVersionQuery());
  ASSERT_EQ(TokenReceivedBy(server), kOwnToken) << "the options' token reached the server";

  for (const Exposure& exposure : kExposures) {
    SCOPED_TRACE(exposure.name);
    Arm(server, exposure);
    const std::string url = BaseUrlOf(exposure.target, server);
    contracts::MessageContainer status;
    contracts::VersionDTO response;
    ::testing::internal::CaptureStderr();
    VrexClient::Post(url + "/api/ApiVersionQuery", contracts::ApiVersionQuery(), response, "");
    VrexClient::SendToServer(url, contracts::ApiVersionQuery(), status, "");
    VrexClient::CheckVersion(url, status, "");
    EXPECT_TRUE(ShowsNoPartOf(buildToken, ::testing::internal::GetCapturedStderr()));

    for (const std::optional<std::string>& token : {kNoToken, std::optional(kOwnToken)}) {
      std::string trace;
      ClientOptions options = SessionOptions(url, token);
      options.onWireTrace = [&trace](WireTraceKind, std::string_view text) { trace += text; };
      ::testing::internal::CaptureStderr();
      const auto result = Client(options).Send(contracts::ApiVersionQuery());
      EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "printed by the session client";
      EXPECT_TRUE(ShowsNoPartOf(token.value_or(buildToken), result.GetStatus().Message() + "\n" +
                                                                result.GetStatus().ErrorText() +
                                                                "\n" + trace));
    }
  }
}

}  // namespace
}  // namespace vrex::reliability
