// The stub server as clients see it on the wire: its life cycle, which
// answer each request gets (canned, computed or chosen by case), every way of
// delivering it, sequences and the admin API, the journal, the connection
// count, and clients that misbehave.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <ostream>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "RawHttp.h"
#include "StubFixture.h"
#include "vrex/MessageJson.h"
#include "vrex/stub/StubServer.h"

namespace vrex::stub {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using vrex::testing::Announcing;
using vrex::testing::Answer;
using vrex::testing::BodyOf;
using vrex::testing::Delivered;
using vrex::testing::ExchangeRaw;
using vrex::testing::RawConnection;
using vrex::testing::StatusOf;
using StubServerTest = StubFixture;

constexpr char kMeasurements[] = "MeasurementQuery";
const std::string kProtobufHead = "HTTP/1.1 200 OK\r\nContent-Type: application/x-protobuf\r\n";
const std::string kChunkedHead = kProtobufHead + "Transfer-Encoding: chunked\r\n\r\n";

/// A request with a Content-Length; `headers` end with CRLF.
std::string Request(const std::string& method, const std::string& path,
                    const std::string& body = "",
                    const std::string& headers = "Connection: close\r\n",
                    const std::string& host = "127.0.0.1") {
  return method + " " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + headers +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string Post(const std::string& path, const std::string& body = "",
                 const std::string& headers = "Connection: close\r\n") {
  return Request("POST", path, body, headers);
}

/// The body of a request of `requestType` that `json` describes.
std::string Encoded(const char* json, const char* requestType = kMeasurements) {
  return MessageFromJson(requestType, json).Value()->SerializeAsString();
}

std::string Ask(const char* json, const char* requestType = kMeasurements) {
  return Post(std::string("/api/") + requestType, Encoded(json, requestType));
}

/// Polls `done`, boundedly, for what the server does on its own threads.
bool Eventually(const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(milliseconds(1));
  }
  return true;
}

bool AllConnectionsClosed(StubServer& server) {
  return Eventually([&] {
    server.ClearJournal();  // the peak counts again from the connections open now
    return server.PeakConnections() == 0;
  });
}

TEST(StubServerLifeCycle, ServesOnAnEphemeralPortUntilStoppedStartsAgainAndRefusesMisuse) {
  StubServer server;
  server.SetBlockingResponder("ApiVersionQuery",
                              [](const JournalEntry&) { return TextAnswer(200, "v"); });
  EXPECT_THROW(server.ServeConnection(-1), std::logic_error);
  EXPECT_THROW(server.SetAnswer("MeasurmentQuery", CannedAnswer{}), std::invalid_argument);
  EXPECT_THROW(server.SetResponder("ApiVersionQery", {}), std::invalid_argument);
  EXPECT_EQ(server.Port(), 0);
  server.Start();
  ASSERT_TRUE(server.IsRunning());
  const int port = server.Port();
  EXPECT_EQ(server.BaseUrl(), "http://127.0.0.1:" + std::to_string(port));
  EXPECT_EQ(StatusOf(ExchangeRaw(port, Post("/api/ApiVersionQuery"))), 200);
  StubServerOptions taken;
  taken.port = port;
  EXPECT_THROW(StubServer(taken).Start(), std::runtime_error);

  server.Stop();
  EXPECT_FALSE(server.IsRunning());
  EXPECT_EQ(server.Port(), 0);
  EXPECT_THROW(RawConnection{port}, std::runtime_error);
  server.Stop();  // a second stop does nothing

  server.Start();
  EXPECT_THROW(server.Start(), std::logic_error);
  server.ClearJournal();
  EXPECT_EQ(StatusOf(ExchangeRaw(server.Port(), Post("/api/ApiVersionQuery"))), 200);
  EXPECT_EQ(server.Journal().at(0).connection, 1U) << "connections count from each start";
}

// ---------------------------------------------------------------------------
// Which answer a request gets.

struct SelectionCase {
  const char* name;
  std::function<void(StubServer&)> setUp;
  std::string request;
  int status;
  ::testing::Matcher<const std::string&> body;
  std::string header = {};
};

// Test output names a case by its name.
void PrintTo(const SelectionCase& c, std::ostream* out) { *out << c.name; }

class AnswerSelection : public StubFixture, public ::testing::WithParamInterface<SelectionCase> {};

TEST_P(AnswerSelection, FollowsTheAnswersRespondersAndCasesSet) {
  const SelectionCase& c = GetParam();
  if (c.setUp) c.setUp(server);
  const std::string response = ExchangeRaw(server.Port(), c.request);
  EXPECT_EQ(StatusOf(response), c.status) << response;
  EXPECT_THAT(BodyOf(response), c.body);
  EXPECT_THAT(response.substr(0, response.find("\r\n\r\n")), HasSubstr(c.header));
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), c.status == 400 ? 0U : 1U) << "a request is journaled";
  if (!journal.empty()) {
    EXPECT_EQ(journal[0].unmatched, c.status == 404 && !server.Cases().empty());
  }
}

const std::string kBinary("\x0a\x05\x08\x01\x12\x01\x45\0\xff", 9);
constexpr char kByIds[] = "MeasurementByIdQuery";
constexpr char kArchives[] = "ArchiveFileByIdQuery";
constexpr char kTop5[] = R"({"LastN": {"TopN": 5}})";

/// A case that answers with its own name, so the answer tells who gave it.
StubCase Named(const char* name, const char* match = "", const char* type = kMeasurements) {
  return {type, name, match, {TextAnswer(200, name)}};
}

std::function<void(StubServer&)> Cases(std::vector<StubCase> cases) {
  return [cases](StubServer& s) {
    for (const StubCase& stubCase : cases) s.AddCase(stubCase);
  };
}

const std::string kPath = "/api/MeasurementQuery";

INSTANTIATE_TEST_SUITE_P(
    Cases, AnswerSelection,
    ::testing::Values(
        SelectionCase{"CannedAnswerAsSet",
                      [](StubServer& s) {
                        CannedAnswer moved = Answer(200, kBinary);
                        moved.status = 302;
                        moved.contentType = "text/html";
                        moved.headers.push_back({"Location", "http://127.0.0.1:1/x"});
                        s.SetAnswer(kMeasurements, moved);
                      },
                      Post(kPath + "?trace=1", "x"), 302, kBinary,
                      "Content-Type: text/html\r\nContent-Length: 9\r\n"
                      "Location: http://127.0.0.1:1/x\r\nConnection: close"},
        SelectionCase{"MessageWithItsStatus",  // of any type: the server does not look
                      [](StubServer& s) {
                        s.SetAnswerMessage(
                            "ApiVersionQuery",
                            *MessageFromJson(kMeasurements, R"({"Line": "A"})").Value(), 202);
                      },
                      Post("/api/ApiVersionQuery"), 202, Encoded(R"({"Line": "A"})"),
                      "Content-Type: application/x-protobuf"},
        SelectionCase{"KnownTypeWithoutAnswerIsAnEmptyMessage", nullptr, Post(kPath), 200, "",
                      "Content-Length: 0"},
        SelectionCase{
            "ClearedAnswers",
            [](StubServer& s) {
              s.SetAnswer(kMeasurements, TextAnswer(500, "broken"));
              s.SetAnswer("ApiVersionQuery", TextAnswer(500, "broken"));
              s.ClearAnswer(kMeasurements);
              const bool clearedOne = !s.Answer(kMeasurements) && s.Answer("ApiVersionQuery");
              s.ClearAnswers();
              if (!clearedOne || s.Answer("ApiVersionQuery")) {
                throw std::logic_error("an answer survived its clearing, or Answer() misreports");
              }
            },
            Post(kPath), 200, ""},
        SelectionCase{
            "SequenceStartsOverWhenReset",
            [](StubServer& s) {
              s.AddCase({kMeasurements, "seq", "", {TextAnswer(503, "busy"), Answer(200)}});
              ExchangeRaw(s.Port(), Post(kPath));
              s.ResetSequences();
              s.ClearJournal();
            },
            Post(kPath), 503, "busy\n"},
        SelectionCase{"ResponderBeforeCannedAnswer",
                      [](StubServer& s) {
                        s.SetAnswer(kMeasurements, TextAnswer(500, "canned"));
                        s.SetResponder(kMeasurements, [](const JournalEntry& request) {
                          return TextAnswer(202, "echo:" + request.body);
                        });
                      },
                      Post(kPath, "ping"), 202, "echo:ping\n"},
        SelectionCase{"ClearedResponder",
                      [](StubServer& s) {
                        s.SetAnswer(kMeasurements, TextAnswer(203, "canned"));
                        s.SetResponder(kMeasurements,
                                       [](const JournalEntry&) { return TextAnswer(500, "x"); });
                        s.ClearResponder(kMeasurements);
                      },
                      Post(kPath), 203, "canned\n"},
        SelectionCase{"ResponderOutOfMemory",
                      [](StubServer& s) {
                        s.SetResponder(kMeasurements, [](const JournalEntry&) -> CannedAnswer {
                          throw std::bad_alloc();
                        });
                      },
                      Post(kPath), 500, ::testing::_},
        SelectionCase{"UnknownRequestType", nullptr, Post("/api/NoSuchQuery"), 404, ::testing::_},
        SelectionCase{"PathOutsideTheApi", nullptr, Post("/" + kPath), 404, ::testing::_},
        SelectionCase{"GetInsteadOfPost", nullptr, Request("GET", kPath), 405, ::testing::_},
        SelectionCase{"MalformedRequestLine", nullptr, "\t" + Post(kPath), 400, ::testing::_},
        // Framing read two ways by two parsers: refused, and no body served as a request.
        SelectionCase{"SmuggledPastAnIdentityCoding", nullptr,
                      "POST " + kPath + " HTTP/1.1\r\nTransfer-Encoding: identity\r\n\r\n" +
                          Request("GET", kPath),
                      400, HasSubstr("Transfer-Encoding other than chunked")},
        SelectionCase{"NotQuiteChunked", nullptr, Post(kPath, "", "Transfer-Encoding: xchunked\r\n"),
                      400, HasSubstr("Transfer-Encoding")},
        SelectionCase{"ChunkedThenAnotherCoding", nullptr,
                      Post(kPath, "", "Transfer-Encoding: chunked, identity\r\n"), 400,
                      HasSubstr("Transfer-Encoding")},
        SelectionCase{"ChunkedWithALength", nullptr,
                      Post(kPath, "0\r\n\r\n", "Transfer-Encoding: chunked\r\n"), 400,
                      ::testing::_},
        // Cases: the first one whose match the request contains answers.
        SelectionCase{
            "FirstCaseTheRequestContains",
            Cases({Named("a", R"({"Factory": "N", "Line": "A"})"), Named("b", R"({"Line": "B"})"),
                   Named("c", R"({"Factory": "P", "Line": "B"})")}),
            Ask(R"({"Factory": "P", "Line": "B", "LastN": {"TopN": 5}})"), 200, "b\n"},
        SelectionCase{
            "DefaultAnswersTheRestWhereverItWasAdded",
            Cases({Named("first default"), Named("default"), Named("a", R"({"Line": "A"})")}),
            Ask(R"({"Line": "C"})"), 200, "default\n"},
        SelectionCase{"MatchedCaseGoesBeforeTheDefault",
                      Cases({Named("default"), Named("a", R"({"Line": "A"})")}),
                      Ask(R"({"Line": "A"})"), 200, "a\n"},
        SelectionCase{"NestedMessageAsSubset", Cases({Named("top5", kTop5)}),
                      Ask(R"({"LastN": {"TopN": 5, "TopNFirst": true}})"), 200, "top5\n"},
        SelectionCase{"NestedFieldDiffers", Cases({Named("top5", kTop5)}),
                      Ask(R"({"LastN": {"TopN": 6}})"), 404,
                      HasSubstr("no case of MeasurementQuery matches the request; "
                                R"(closest: "top5" (LastN.TopN: wanted 5, got 6))")},
        SelectionCase{"NestedMessageMissing", Cases({Named("top5", kTop5)}),
                      Ask(R"({"Line": "A"})"), 404, HasSubstr("LastN: wanted a message, got none")},
        SelectionCase{"ExplicitDefaultValueMustMatch", Cases({Named("no line", R"({"Line": ""})")}),
                      Ask(R"({"Line": "A"})"), 404, HasSubstr(R"(Line: wanted "", got "A")")},
        SelectionCase{"RepeatedScalarsInAnyOrder",
                      Cases({Named("ids", R"({"Identifier": [1004, 1002]})", kByIds)}),
                      Ask(R"({"Identifier": [1001, 1002, 1004]})", kByIds), 200, "ids\n"},
        SelectionCase{"RepeatedScalarMissing",
                      Cases({Named("ids", R"({"Identifier": [1002, 1004]})", kByIds)}),
                      Ask(R"({"Identifier": [1002, 1003]})", kByIds), 404,
                      HasSubstr("Identifier: no element matches 1004")},
        SelectionCase{
            "RepeatedMessagesAsSubsets",
            Cases({Named("idle", R"({"AverageArchives": [{"Name": "Idle"}]})", kArchives)}),
            Ask(R"({"AverageArchives": [{"Name": "Run"}, {"Name": "Idle", "DaysToInclude": 3}]})",
                kArchives),
            200, "idle\n"},
        SelectionCase{
            "OneElementMustHoldTheWholeElementMatch",
            Cases({Named("idle3", R"({"AverageArchives": [{"Name": "Idle", "DaysToInclude": 3}]})",
                         kArchives)}),
            Ask(R"({"AverageArchives": [{"Name": "Idle"}, {"DaysToInclude": 3}]})", kArchives), 404,
            HasSubstr(R"(AverageArchives: no element matches {Name: "Idle" DaysToInclude: 3})")},
        SelectionCase{"ExplanationNamesTheClosestCasesFirst",
                      Cases({Named("far", R"({"Factory": "S", "Line": "C"})"),
                             Named("near", R"({"Factory": "N", "Line": "A"})")}),
                      Ask(R"({"Factory": "N", "Line": "B"})"), 404,
                      HasSubstr(R"(closest: "near" (Line: wanted "A", got "B"); "far" (Factory)")},
        SelectionCase{"BodyThatIsNoRequest", Cases({Named("a", R"({"Line": "A"})")}),
                      Post(kPath, "\xff\xff\xff"), 404,
                      HasSubstr("its body is no MeasurementQuery")}),
    [](const ::testing::TestParamInfo<SelectionCase>& info) { return info.param.name; });

struct AdminStep {
  const char* method;
  const char* path;
  int status;
  std::string body = {};
  std::vector<const char*> present = {};
  std::vector<const char*> absent = {};
  std::string host = "127.0.0.1";
  std::string headers = {};
};

std::string Nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

TEST_F(StubServerTest, AdminApiDrivesCasesSequencesAndTheJournalOverHttp) {
  const std::string lineA = Encoded(R"({"Line": "Line-A"})");
  const char* api = "/api/MeasurementQuery";
  const std::vector<AdminStep> steps{
      {"POST", "/__stub/cases", 201,
       R"({"requestType": "MeasurementQuery", "name": "a", "match": {"Line": "Line-A"},
           "answers": [{"status": 503}, {"text": "ok"}]})"},
      {"POST", "/__stub/cases", 400, R"({"requestType": "NoSuchQuery"})", {"'NoSuchQuery'"}},
      {"GET",
       "/__stub/cases",
       200,
       "",
       {R"("name": "a")", R"("requestType": "MeasurementQuery")", R"("Line": "Line-A")",
        R"("status": 503)"}},
      {"POST", api, 503, lineA},
      {"POST", api, 200, lineA, {"ok"}},
      {"POST", api, 200, lineA, {"ok"}},  // the last answer repeats
      {"POST", "/__stub/sequences/reset", 200},
      {"POST", api, 503, lineA},
      {"POST", api, 404, Encoded(R"({"Line": "Line-B"})"), {R"(wanted "Line-A", got "Line-B")"}},
      {"GET",
       "/__stub/journal",
       200,
       "",
       {R"("Line": "Line-B")", R"("matchedCase": "a")", R"("unmatched": true)",
        R"("name": "Connection")", R"("value": "close")", R"("path": "/api/MeasurementQuery")"},
       {"__stub"}},
      {"DELETE", "/__stub/journal", 200},
      {"GET", "/__stub/journal", 200, "", {}, {"MeasurementQuery"}},
      {"DELETE", "/__stub/cases", 200},
      {"POST", api, 200, lineA, {}, {}, "127.0.0.1",
       "GatewayApiAuthentication: gateway-secret\r\nAuthorization: Basic dXNlcjpwYXNz\r\n"},
      {"GET", "/__stub/cases", 200, "", {}, {"Line-A"}},
      {"GET", "/__stub/journal", 200, "", {R"("value": "***)"}, {"gateway-secret", "dXNlcjpwYXNz"}},
      {"PUT", "/__stub/cases", 405},
      {"GET", "/__stub/case", 404, "", {"GET /__stub/journal"}},
      // Callers other than a local test: a web page, a name rebound to 127.0.0.1.
      {"GET", "/__stub/journal", 403, "", {"Origin"}, {}, "127.0.0.1", "Origin: http://a.test\r\n"},
      {"DELETE", "/__stub/cases", 403, "", {"Host a.test:80 is no loopback"}, {}, "a.test:80"},
      {"GET", "/__stub/journal", 200, "", {}, {}, "[::1]:80"},
      {"GET", "/__stub/journal", 200, "", {}, {}, "LocalHost"},
      // Bodies bounded before the parser sees them; brackets in strings do not count.
      {"POST", "/__stub/cases", 400, Nested(65), {"deeper than 64"}},
      {"POST", "/__stub/cases", 400, Nested(64), {"not a case"}, {"deeper"}},
      {"POST", "/__stub/cases", 201,
       R"({"requestType": "ApiVersionQuery", "answers": [{"text": "\")" + Nested(65) + R"("}]})"},
      {"POST", "/__stub/cases", 413, std::string((std::size_t{16} << 20) + 1, ' '), {"16777216"}},
  };
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const AdminStep& step = steps[i];
    SCOPED_TRACE("step " + std::to_string(i + 1) + ": " + step.method + " " + step.path);
    const std::string response =
        ExchangeRaw(server.Port(), Request(step.method, step.path, step.body,
                                           step.headers + "Connection: close\r\n", step.host));
    const std::string body = BodyOf(response);
    EXPECT_EQ(StatusOf(response), step.status) << body;
    for (const char* part : step.present) EXPECT_THAT(body, HasSubstr(part));
    for (const char* part : step.absent) EXPECT_THAT(body, Not(HasSubstr(part)));
  }
}

// ---------------------------------------------------------------------------
// Deliveries, as a raw client sees them. The request keeps its connection:
// a broken-off delivery must close it all the same. Every delivery, the
// endless ones and those that pause for an hour included, ends when the
// client closes and when the server stops, or a test would hang.

struct DeliveryCase {
  const char* name;
  CannedAnswer answer;
  std::string wire;  // every byte sent, or the first ones of an unending delivery
  bool closes;       // the server closes the connection after them
};

// Test output names a case by its name.
void PrintTo(const DeliveryCase& c, std::ostream* out) { *out << c.name; }

class StubServerDelivery : public StubFixture, public ::testing::WithParamInterface<DeliveryCase> {};

TEST_P(StubServerDelivery, SendsItsBytesAndEndsWhenTheClientClosesAndWhenTheServerStops) {
  const DeliveryCase& c = GetParam();
  server.SetAnswer(kMeasurements, c.answer);
  {
    RawConnection client(server.Port());
    client.Send(Post(kPath, "", ""));
    EXPECT_EQ(client.Receive(c.closes ? std::string::npos : c.wire.size()), c.wire);
  }
  EXPECT_TRUE(AllConnectionsClosed(server)) << "the delivery went on without its client";

  RawConnection client(server.Port());
  client.Send(Post(kPath, "", ""));
  EXPECT_EQ(client.Receive(c.wire.size()), c.wire);
  server.Stop();
  EXPECT_NO_THROW(client.Receive()) << "the delivery went on after Stop";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, StubServerDelivery,
    ::testing::Values(DeliveryCase{"ShorterThanAnnounced", Announcing(100, "short"),
                                   kProtobufHead + "Content-Length: 100\r\n\r\nshort", true},
                      DeliveryCase{"LongerThanAnnounced", Announcing(2, "longer"),
                                   kProtobufHead + "Content-Length: 2\r\n\r\nlonger", true},
                      DeliveryCase{"AsAnnounced", Announcing(5, "exact"),
                                   kProtobufHead + "Content-Length: 5\r\n\r\nexact", false},
                      DeliveryCase{"Raw", Delivered("HTTP/1.1 2OO Fine\r\nX: y", Delivery::Raw),
                                   "HTTP/1.1 2OO Fine\r\nX: y", true},
                      DeliveryCase{"TrickleOfChunks",
                                   Delivered("ab", Delivery::Chunked, 2, milliseconds(1)),
                                   kChunkedHead + "2\r\nab\r\n2\r\nab\r\n0\r\n\r\n", false},
                      DeliveryCase{"EmptyChunkedBody", Delivered("", Delivery::Chunked, 3),
                                   kChunkedHead + "0\r\n\r\n", false},
                      DeliveryCase{"EndlessChunks", Delivered("tick", Delivery::Chunked, kEndless),
                                   kChunkedHead + "4\r\ntick\r\n4\r\ntick\r\n", false},
                      DeliveryCase{"EndlessHeaders", Delivered("", Delivery::EndlessHeaders),
                                   "HTTP/1.1 200 OK\r\nX-Endless: xxxx", false},
                      DeliveryCase{"SlowTrickle", Delivered("tick", Delivery::Chunked, 2, hours(1)),
                                   kChunkedHead, false},
                      DeliveryCase{"StallMidBody",
                                   Delivered("0123456789", Delivery::CloseMidBody, 1, {}, hours(1)),
                                   kProtobufHead + "Content-Length: 10\r\n\r\n01234", false}),
    [](const ::testing::TestParamInfo<DeliveryCase>& info) { return info.param.name; });

// ---------------------------------------------------------------------------
// The journal and the connections.

TEST_F(StubServerTest, JournalsRequestsAsTheyCameAndCountsTheirConnections) {
  constexpr std::size_t kClients = 3;
  {
    std::vector<std::unique_ptr<RawConnection>> clients;
    for (std::size_t i = 0; i < kClients; ++i) {
      clients.push_back(std::make_unique<RawConnection>(server.Port()));
      clients.back()->Send(Post("/api/ApiVersionQuery", "", ""));
    }
    ASSERT_TRUE(Eventually([&] { return server.Journal().size() == kClients; }));
    EXPECT_EQ(server.PeakConnections(), kClients);
  }
  ASSERT_TRUE(AllConnectionsClosed(server));
  EXPECT_EQ(server.Journal().size(), 0U);

  // Two requests in one write: a chunked one, then one asking for a 100 Continue.
  const std::string head =
      "POST /api/MeasurementQuery HTTP/1.1\r\n"
      "Zeta: last in the alphabet\r\n"
      "alpha:no-blank\r\n"
      "X-Dup: one\r\n"
      "Content-Type: application/x-protobuf\r\n"
      "X-Dup: two\r\n"
      "GatewayApiAuthentication:  token with blanks \t\r\n"
      "Transfer-Encoding: chunked\r\n"
      "\r\n";
  const std::string responses = ExchangeRaw(
      server.Port(),
      head + "2\r\n\x0a\x03\r\n3\r\nabc\r\n0\r\n\r\n" +
          Post("/api/ApiVersionQuery", "two", "Expect: 100-continue\r\nConnection: close\r\n"));
  EXPECT_THAT(responses, HasSubstr("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200"));

  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 2U);
  EXPECT_EQ(journal[0].method, "POST");
  EXPECT_EQ(journal[0].path, "/api/MeasurementQuery");
  EXPECT_EQ(journal[0].head, head);
  EXPECT_EQ(journal[0].body,
            "\x0a\x03"
            "abc");
  EXPECT_THAT(journal[0].headers,
              ElementsAre(HeaderField{"Zeta", "last in the alphabet"},
                          HeaderField{"alpha", "no-blank"}, HeaderField{"X-Dup", "one"},
                          HeaderField{"Content-Type", "application/x-protobuf"},
                          HeaderField{"X-Dup", "two"},
                          HeaderField{"GatewayApiAuthentication", "token with blanks"},
                          HeaderField{"Transfer-Encoding", "chunked"}));
  ASSERT_NE(journal[0].FindHeader("x-dup"), nullptr);
  EXPECT_EQ(*journal[0].FindHeader("x-dup"), "one");
  EXPECT_EQ(journal[0].FindHeader("Accept"), nullptr);
  EXPECT_EQ(journal[1].body, "two");
  EXPECT_EQ(journal[0].connection, kClients + 1);
  EXPECT_EQ(journal[1].connection, kClients + 1);
  EXPECT_EQ(server.PeakConnections(), 1U);
}

TEST(StubServerJournal, ShowsSecretsMaskedYetApartAndKeepsItsBounds) {
  StubServerOptions options;
  options.journalEntries = 3;
  options.journalBytes = 4096;
  options.allowRemoteAdmin = true;  // a web page may read it now
  StubServer server(options);
  server.Start();
  for (const std::string token : {"dropped-token", "token-one", "token-two", "token-one"}) {
    ExchangeRaw(server.Port(), Post(kPath, "", "GatewayApiAuthentication: " + token + "\r\n"
                                               "Connection: close\r\n"));
  }
  const std::string journal = BodyOf(ExchangeRaw(
      server.Port(),
      Request("GET", "/__stub/journal", "", "Origin: http://a.test\r\nConnection: close\r\n")));
  EXPECT_THAT(journal, Not(HasSubstr("token-")));
  EXPECT_THAT(journal, HasSubstr(R"("dropped": "1")"));
  const std::regex mask(R"re("value": "(\*\*\*[0-9a-f]{8})")re");
  std::vector<std::string> masks;
  for (std::sregex_iterator at(journal.begin(), journal.end(), mask), end; at != end; ++at) {
    masks.push_back((*at)[1]);
  }
  ASSERT_EQ(masks.size(), 3U) << journal;
  EXPECT_EQ(masks[0], masks[2]);
  EXPECT_NE(masks[0], masks[1]);

  ExchangeRaw(server.Port(), Post(kPath, std::string(5000, 'x')));
  EXPECT_EQ(server.Journal().size(), 1U) << "the newest is kept, alone over the bytes bound";
}

TEST_F(StubServerTest, AConnectionHandedOverIsServedOnTheCallingThread) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const std::string requests =
      Post("/api/ApiVersionQuery", "v1", "") + Post("/api/NoSuchQuery", "", "");
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
  EXPECT_THAT(reply, HasSubstr("HTTP/1.1 404"));
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 2U);
  EXPECT_EQ(journal[0].body, "v1");
  EXPECT_EQ(journal[1].path, "/api/NoSuchQuery");
}

// ---------------------------------------------------------------------------
// Clients that misbehave: a head sent a byte at a time, a gigabyte body, more
// idle connections than allowed, a client that never reads its answer. The
// stub bounds what each costs, says so in its log, and keeps answering
// everybody else.

constexpr std::size_t kConnectionLimit = 8;
using Held = std::vector<std::unique_ptr<RawConnection>>;

void Sending(int port, Held& held, const std::string& bytes) {
  held.push_back(std::make_unique<RawConnection>(port));
  held.back()->Send(bytes);
}

TEST(StubServerHostileClients, AreBoundedAndLoggedWhileOthersAreStillAnswered) {
  const std::string headStart = "POST /api/ApiVersionQuery HTTP/1.1\r\nHost: 127.0.0.1\r\n";
  // What the stub's log says when its bound applies, and a client it applies to.
  const std::vector<std::pair<std::string, std::function<void(int port, Held& held)>>> clients{
      {"did not arrive whole within",  // a head sent one byte at a time
       [&](int port, Held& held) {
         Sending(port, held, headStart.substr(0, 1));
         for (std::size_t at = 1; at < 8; ++at) held.back()->Send(headStart.substr(at, 1));
       }},
      {"is refused with 413",
       [&](int port, Held& held) {
         Sending(port, held, headStart + "Content-Length: 1000000000\r\n\r\nxxxx");
         EXPECT_EQ(StatusOf(held.back()->Receive()), 413);
       }},
      {"connection limit of 8",  // idle connections
       [](int port, Held& held) {
         for (std::size_t i = 0; i < 4 * kConnectionLimit; ++i) {
           held.push_back(std::make_unique<RawConnection>(port));
         }
       }},
      {"took no byte of its answer",  // of one far larger than the socket buffers take
       [](int port, Held& held) { Sending(port, held, Post(kPath, "", "")); }},
      {"refused with 400: Transfer-Encoding",
       [&](int port, Held& held) {
         Sending(port, held, headStart + "Transfer-Encoding: gzip\r\n\r\n");
         EXPECT_EQ(StatusOf(held.back()->Receive()), 400);
       }},
      {"refused with 403: the admin API refuses",
       [](int port, Held& held) {
         Sending(port, held, Request("GET", "/__stub/journal", "", "Origin: http://a.test\r\n"));
         EXPECT_EQ(StatusOf(held.back()->Receive()), 403);
       }},
  };
  std::mutex mutex;
  std::string log;
  StubServerOptions options;
  options.maxRequestBytes = 1 << 20;
  options.readTimeout = milliseconds(300);
  options.writeTimeout = milliseconds(300);
  options.maxConnections = kConnectionLimit;
  options.log = [&](std::string_view line) {
    const std::lock_guard lock(mutex);
    log += std::string(line) + "\n";
  };
  const CannedAnswer large = Answer(200, std::string(std::size_t{64} << 20, 'x'));
  for (const auto& [logged, misbehave] : clients) {
    SCOPED_TRACE(logged);
    log.clear();  // no server runs now
    StubServer server(options);
    server.SetAnswer(kMeasurements, large);
    server.Start();
    Held held;
    misbehave(server.Port(), held);

    const std::string other =
        ExchangeRaw(server.Port(), headStart + "Connection: close\r\nContent-Length: 0\r\n\r\n");

    EXPECT_EQ(StatusOf(other), 200) << other;
    const bool found = Eventually([&, &part = logged] {
      const std::lock_guard lock(mutex);
      return log.find(part) != std::string::npos;
    });
    server.Stop();  // the log is read alone
    EXPECT_TRUE(found) << log;
  }
}

}  // namespace
}  // namespace vrex::stub
