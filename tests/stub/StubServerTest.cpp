// The stub server over HTTP: its life cycle, which answer each request gets,
// delays, and the journal of what clients sent.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "MessageContainer.pb.h"
#include "RawHttp.h"
#include "VersionDTO.pb.h"
#include "VrexClient.h"
#include "vrex/stub/StubServer.h"

namespace vrex::stub {
namespace {

namespace dc = Korvan::KQ::DataContracts;
using ::testing::ElementsAre;
using vrex::testing::ExchangeRaw;
using vrex::testing::StatusOf;

CannedAnswer Answer(int status, std::string body, std::string contentType) {
  CannedAnswer answer;
  answer.status = status;
  answer.body = std::move(body);
  answer.contentType = std::move(contentType);
  return answer;
}

dc::VersionDTO Version(int major, int minor) {
  dc::VersionDTO version;
  version.set_major(major);
  version.set_minor(minor);
  return version;
}

/// Waits, boundedly, until the server has journaled `count` requests.
bool AwaitJournalSize(const StubServer& server, std::size_t count) {
  for (int i = 0; i < 30'000; ++i) {
    if (server.Journal().size() >= count) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

class StubServerTest : public ::testing::Test {
 protected:
  void SetUp() override { server.Start(); }

  httplib::Result PostTo(const std::string& path, const std::string& body = "x") {
    httplib::Client client("127.0.0.1", server.Port());
    return client.Post(path.c_str(), body, "application/x-protobuf");
  }

  StubServer server;
};

TEST(StubServerLifeCycle, ServesOnAnEphemeralPortUntilStoppedAndStartsAgain) {
  StubServer server;
  EXPECT_FALSE(server.IsRunning());
  EXPECT_EQ(server.Port(), 0);

  server.Start();
  ASSERT_TRUE(server.IsRunning());
  const int port = server.Port();
  ASSERT_GT(port, 0);
  EXPECT_EQ(server.BaseUrl(), "http://127.0.0.1:" + std::to_string(port));
  httplib::Client client("127.0.0.1", port);
  const auto before = client.Post("/api/ApiVersionQuery", "{}", "application/json");
  ASSERT_TRUE(before);
  EXPECT_EQ(before->status, 200);

  server.Stop();
  EXPECT_FALSE(server.IsRunning());
  EXPECT_EQ(server.Port(), 0);
  httplib::Client late("127.0.0.1", port);
  EXPECT_FALSE(late.Post("/api/ApiVersionQuery", "{}", "application/json"));
  server.Stop();  // a second stop does nothing

  server.Start();
  httplib::Client again("127.0.0.1", server.Port());
  EXPECT_TRUE(again.Post("/api/ApiVersionQuery", "{}", "application/json"));
  EXPECT_THROW(server.Start(), std::logic_error);
}

TEST(StubServerLifeCycle, StartFailsWhenThePortIsTaken) {
  StubServer first;
  first.Start();
  StubServerOptions options;
  options.port = first.Port();
  StubServer second(options);
  EXPECT_THROW(second.Start(), std::runtime_error);
  EXPECT_FALSE(second.IsRunning());
}

struct AnswerCase {
  const char* name;
  const char* method;
  std::string path;
  std::optional<CannedAnswer> canned;  // set for MeasurementQuery before the request
  int status;
  std::string body;
  std::string contentType;  // empty: not checked
};

class AnswerSelection : public StubServerTest, public ::testing::WithParamInterface<AnswerCase> {};

TEST_P(AnswerSelection, ComesBackAsSet) {
  const AnswerCase& c = GetParam();
  if (c.canned) {
    server.SetAnswer("MeasurementQuery", *c.canned);
  }
  httplib::Client client("127.0.0.1", server.Port());
  const auto result = std::string(c.method) == "GET"
                          ? client.Get(c.path.c_str())
                          : client.Post(c.path.c_str(), "body", "application/x-protobuf");
  ASSERT_TRUE(result) << httplib::to_string(result.error());
  EXPECT_EQ(result->status, c.status);
  if (c.status == 200 || c.canned) {
    EXPECT_EQ(result->body, c.body);
  }
  if (!c.contentType.empty()) {
    EXPECT_EQ(result->get_header_value("Content-Type"), c.contentType);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, AnswerSelection,
    ::testing::Values(
        AnswerCase{"CannedBinaryBody", "POST", "/api/MeasurementQuery",
                   Answer(200, std::string("\x0a\x05\x08\x01\x12\x01\x45\0\xff", 9),
                          "application/x-protobuf"),
                   200, std::string("\x0a\x05\x08\x01\x12\x01\x45\0\xff", 9),
                   "application/x-protobuf"},
        AnswerCase{"CannedErrorStatus", "POST", "/api/MeasurementQuery",
                   Answer(401, "denied", "text/plain"), 401, "denied", "text/plain"},
        AnswerCase{"CannedServerError", "POST", "/api/MeasurementQuery",
                   Answer(500, "<html>down</html>", "text/html"), 500, "<html>down</html>",
                   "text/html"},
        AnswerCase{"KnownTypeWithoutAnswerIsAnEmptyMessage", "POST", "/api/MeasurementQuery",
                   std::nullopt, 200, "", "application/x-protobuf"},
        AnswerCase{"UnknownRequestType", "POST", "/api/NoSuchQuery", std::nullopt, 404, "", ""},
        AnswerCase{"PathOutsideTheApi", "POST", "/MeasurementQuery", std::nullopt, 404, "", ""},
        AnswerCase{"DoubleSlashBeforeApi", "POST", "//api/MeasurementQuery", std::nullopt, 404, "",
                   ""},
        AnswerCase{"GetInsteadOfPost", "GET", "/api/MeasurementQuery", std::nullopt, 405, "", ""}),
    [](const ::testing::TestParamInfo<AnswerCase>& info) { return info.param.name; });

TEST_F(StubServerTest, MessageAnswersAreTheBinaryEncodingWithTheirStatus) {
  server.SetAnswerMessage("ApiVersionQuery", Version(4, 7));
  server.SetAnswerMessage("GeneralInformationQuery", Version(3, 1), 202);

  const auto version = PostTo("/api/ApiVersionQuery");
  const auto dbVersion = PostTo("/api/GeneralInformationQuery");

  ASSERT_TRUE(version && dbVersion);
  EXPECT_EQ(version->status, 200);
  EXPECT_EQ(version->body, Version(4, 7).SerializeAsString());
  EXPECT_EQ(dbVersion->status, 202);
  EXPECT_EQ(dbVersion->body, Version(3, 1).SerializeAsString());
}

TEST_F(StubServerTest, ExtraHeadersGoOutWithTheAnswer) {
  CannedAnswer redirect = Answer(302, "", "text/plain");
  redirect.headers.push_back({"Location", "http://127.0.0.1:1/elsewhere"});
  server.SetAnswer("MeasurementQuery", redirect);

  const auto result = PostTo("/api/MeasurementQuery");

  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 302);
  EXPECT_EQ(result->get_header_value("Location"), "http://127.0.0.1:1/elsewhere");
}

TEST_F(StubServerTest, ClearedAnswersFallBackToTheEmptyMessage) {
  server.SetAnswer("MeasurementQuery", Answer(500, "broken", "text/plain"));
  server.SetAnswer("ApiVersionQuery", Answer(500, "broken", "text/plain"));
  ASSERT_TRUE(server.Answer("MeasurementQuery"));

  server.ClearAnswer("MeasurementQuery");
  EXPECT_FALSE(server.Answer("MeasurementQuery"));
  EXPECT_EQ(PostTo("/api/MeasurementQuery")->status, 200);
  EXPECT_EQ(PostTo("/api/ApiVersionQuery")->status, 500);

  server.ClearAnswers();
  const auto result = PostTo("/api/ApiVersionQuery");
  EXPECT_EQ(result->status, 200);
  EXPECT_EQ(result->body, "");
}

TEST_F(StubServerTest, AnswersForUnknownRequestTypesAreRefused) {
  EXPECT_THROW(server.SetAnswer("MeasurmentQuery", CannedAnswer{}), std::invalid_argument);
  EXPECT_THROW(server.SetAnswerMessage("", Version(4, 0)), std::invalid_argument);
}

TEST_F(StubServerTest, DelayedAnswerStillArrives) {
  CannedAnswer slow = Answer(200, "late but here", "application/x-protobuf");
  slow.delay = std::chrono::milliseconds(50);
  server.SetAnswer("MeasurementQuery", slow);

  const auto result = PostTo("/api/MeasurementQuery");

  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 200);
  EXPECT_EQ(result->body, "late but here");
}

TEST_F(StubServerTest, StopCutsAPendingDelayShort) {
  CannedAnswer stalled = Answer(200, "cut short", "application/x-protobuf");
  stalled.delay = std::chrono::hours(1);  // a server that waited it out would hang the test
  server.SetAnswer("MeasurementQuery", stalled);

  std::thread client([port = server.Port()] {
    httplib::Client c("127.0.0.1", port);
    c.Post("/api/MeasurementQuery", "x", "application/x-protobuf");
  });
  ASSERT_TRUE(AwaitJournalSize(server, 1));
  server.Stop();
  client.join();
  EXPECT_FALSE(server.IsRunning());
}

TEST_F(StubServerTest, JournalKeepsHeadersInArrivalOrderAndTheBody) {
  const std::string request =
      "POST /api/MeasurementQuery HTTP/1.1\r\n"
      "Zeta: last in the alphabet\r\n"
      "Host: 127.0.0.1\r\n"
      "alpha:no-blank\r\n"
      "X-Dup: one\r\n"
      "Content-Type: application/x-protobuf\r\n"
      "X-Dup: two\r\n"
      "GatewayApiAuthentication:  token with blanks \t\r\n"
      "Content-Length: 5\r\n"
      "Connection: close\r\n"
      "\r\n"
      "\x0a\x03"
      "abc";

  const std::string response = ExchangeRaw(server.Port(), request);

  EXPECT_EQ(StatusOf(response), 200);
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 1U);
  const JournalEntry& entry = journal[0];
  EXPECT_EQ(entry.method, "POST");
  EXPECT_EQ(entry.path, "/api/MeasurementQuery");
  EXPECT_EQ(entry.body, "\x0a\x03"
                        "abc");
  EXPECT_THAT(entry.headers,
              ElementsAre(HeaderField{"Zeta", "last in the alphabet"},
                          HeaderField{"Host", "127.0.0.1"}, HeaderField{"alpha", "no-blank"},
                          HeaderField{"X-Dup", "one"},
                          HeaderField{"Content-Type", "application/x-protobuf"},
                          HeaderField{"X-Dup", "two"},
                          HeaderField{"GatewayApiAuthentication", "token with blanks"},
                          HeaderField{"Content-Length", "5"},
                          HeaderField{"Connection", "close"}));
  ASSERT_NE(entry.FindHeader("x-dup"), nullptr);
  EXPECT_EQ(*entry.FindHeader("x-dup"), "one");
  EXPECT_EQ(entry.FindHeader("Accept"), nullptr);
}

TEST_F(StubServerTest, RequestsSentTogetherOnOneConnectionAreJournaledApart) {
  // Both requests arrive in one read: the second must neither be lost nor
  // carry the first one's headers.
  const std::string requests =
      "POST /api/MeasurementQuery HTTP/1.1\r\nB-First: 1\r\nContent-Length: 3\r\n\r\none"
      "POST /api/ApiVersionQuery?trace=1 HTTP/1.1\r\nA-Second: 2\r\nTransfer-Encoding: chunked\r\n"
      "Connection: close\r\n\r\n3\r\ntwo\r\n4\r\n-and\r\n0\r\n\r\n";

  const std::string responses = ExchangeRaw(server.Port(), requests);

  EXPECT_EQ(StatusOf(responses), 200);
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 2U);
  EXPECT_EQ(journal[0].path, "/api/MeasurementQuery");
  EXPECT_EQ(journal[0].body, "one");
  EXPECT_THAT(journal[0].headers, ElementsAre(HeaderField{"B-First", "1"},
                                              HeaderField{"Content-Length", "3"}));
  EXPECT_EQ(journal[1].path, "/api/ApiVersionQuery?trace=1");
  EXPECT_EQ(journal[1].body, "two-and");
  EXPECT_THAT(journal[1].headers,
              ElementsAre(HeaderField{"A-Second", "2"}, HeaderField{"Transfer-Encoding", "chunked"},
                          HeaderField{"Connection", "close"}));
}

TEST_F(StubServerTest, TheJournalRecordsTheMethodAndTargetTheServerActedOn) {
  // Blanks the HTTP library skips around the words of the request line must
  // not reach the journal: a journal saying "\t\tPOST" beside a 200 answer
  // would contradict the rule that only POST is answered.
  struct Case {
    const char* requestLine;
    int status;
    const char* method;
  };
  const Case cases[] = {
      {"\t\tPOST /api/ApiVersionQuery HTTP/1.1", 200, "POST"},
      {"POST  /api/ApiVersionQuery \tHTTP/1.1", 200, "POST"},
      {" GET /api/ApiVersionQuery HTTP/1.1", 405, "GET"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.requestLine);
    server.ClearJournal();
    const std::string response = ExchangeRaw(
        server.Port(), std::string(c.requestLine) +
                           "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(StatusOf(response), c.status);
    const auto journal = server.Journal();
    ASSERT_EQ(journal.size(), 1U);
    EXPECT_EQ(journal[0].method, c.method);
    EXPECT_EQ(journal[0].path, "/api/ApiVersionQuery");
  }
}

TEST_F(StubServerTest, AConnectionHandedOverIsServedOnTheCallingThread) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const std::string requests =
      "POST /api/ApiVersionQuery HTTP/1.1\r\nContent-Length: 2\r\n\r\nv1"
      "POST /api/NoSuchQuery HTTP/1.1\r\nContent-Length: 0\r\n\r\n";
  ASSERT_EQ(::write(ends[0], requests.data(), requests.size()),
            static_cast<ssize_t>(requests.size()));
  ::shutdown(ends[0], SHUT_WR);

  server.ServeConnection(ends[1]);  // returns once the peer's end is read

  std::string reply(4096, '\0');
  const ssize_t length = ::read(ends[0], reply.data(), reply.size());
  ::close(ends[0]);
  ASSERT_GT(length, 0);
  reply.resize(static_cast<std::size_t>(length));
  EXPECT_EQ(StatusOf(reply), 200);
  EXPECT_NE(reply.find("HTTP/1.1 404"), std::string::npos) << reply;
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 2U);
  EXPECT_EQ(journal[0].body, "v1");
  EXPECT_EQ(journal[1].path, "/api/NoSuchQuery");
}

TEST(StubServerLifeCycle, HandingOverAConnectionNeedsARunningServer) {
  StubServer server;
  EXPECT_THROW(server.ServeConnection(-1), std::logic_error);
}

TEST_F(StubServerTest, APostWithoutLengthIsAnsweredAtOnceWithAnEmptyBody) {
  const std::string response = ExchangeRaw(
      server.Port(), "POST /api/MeasurementQuery HTTP/1.1\r\nConnection: close\r\n\r\n");

  EXPECT_EQ(StatusOf(response), 200);
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 1U);
  EXPECT_EQ(journal[0].body, "");
}

TEST_F(StubServerTest, TheEstablishedClientIsAnsweredAndJournaled) {
  server.SetAnswerMessage("ApiVersionQuery", Version(4, 2));
  dc::MessageContainer status;

  EXPECT_TRUE(VrexClient::CheckVersion(server.BaseUrl(), status, ""));

  EXPECT_EQ(status.codecategory(), dc::Enumerator::CodeCategory_None);
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 1U);
  EXPECT_EQ(journal[0].path, "/api/ApiVersionQuery");
  EXPECT_EQ(journal[0].body, "{}");
  std::vector<std::string> names;
  for (const auto& header : journal[0].headers) {
    names.push_back(header.name);
  }
  EXPECT_THAT(names, ::testing::IsSupersetOf({"Content-Type", "accept", "GatewayApiAuthentication"}));
  const auto position = [&](const std::string& name) {
    return std::find(names.begin(), names.end(), name) - names.begin();
  };
  EXPECT_LT(position("Content-Type"), position("accept"));
  EXPECT_LT(position("accept"), position("GatewayApiAuthentication"));

  server.ClearJournal();
  EXPECT_TRUE(server.Journal().empty());
}

TEST_F(StubServerTest, ManyClientsOnKeptAliveConnectionsAreAllServedAndJournaled) {
  server.SetAnswerMessage("ApiVersionQuery", Version(4, 0));
  constexpr int kClients = 4;
  constexpr int kRequestsEach = 25;  // well past the HTTP library's default of 5 per connection
  std::atomic<int> answered{0};
  std::vector<std::thread> clients;
  for (int c = 0; c < kClients; ++c) {
    clients.emplace_back([&, port = server.Port()] {
      httplib::Client client("127.0.0.1", port);
      client.set_keep_alive(true);
      client.set_tcp_nodelay(true);
      for (int i = 0; i < kRequestsEach; ++i) {
        const auto result = client.Post("/api/ApiVersionQuery", "{}", "application/json");
        if (result && result->status == 200 && result->body == Version(4, 0).SerializeAsString()) {
          ++answered;
        }
      }
    });
  }
  for (auto& client : clients) {
    client.join();
  }
  EXPECT_EQ(answered.load(), kClients * kRequestsEach);
  EXPECT_EQ(server.Journal().size(), static_cast<std::size_t>(kClients * kRequestsEach));
}

}  // namespace
}  // namespace vrex::stub
