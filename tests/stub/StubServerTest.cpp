// The stub server as clients see it on the wire: its life cycle, which
// answer each request gets, every way of delivering it, the journal and the
// connection count.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <new>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "RawHttp.h"
#include "VersionDTO.pb.h"
#include "vrex/stub/StubServer.h"

namespace vrex::stub {
namespace {

using std::chrono::hours;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using vrex::testing::ExchangeRaw;
using vrex::testing::RawConnection;
using vrex::testing::StatusOf;
namespace dc = Korvan::KQ::DataContracts;

constexpr char kProtobufHead[] = "HTTP/1.1 200 OK\r\nContent-Type: application/x-protobuf\r\n";

/// A POST with a Content-Length; `headers` end with CRLF.
std::string Post(const std::string& path, const std::string& body = "",
                 const std::string& headers = "Connection: close\r\n") {
  return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// Polls `done`, boundedly, for what the server does on its own threads.
bool Eventually(const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

bool Journaled(const StubServer& server, std::size_t count) {
  return Eventually([&] { return server.Journal().size() >= count; });
}

bool AllConnectionsClosed(StubServer& server) {
  return Eventually([&] {
    server.ClearJournal();  // the peak counts again from the connections open now
    return server.PeakConnections() == 0;
  });
}

CannedAnswer Answer(std::string body, Delivery delivery = Delivery::Whole) {
  CannedAnswer answer;
  answer.body = std::move(body);
  answer.delivery = delivery;
  return answer;
}

TEST(StubServerLifeCycle, ServesOnAnEphemeralPortUntilStoppedAndStartsAgain) {
  StubServer server;
  EXPECT_THROW(server.ServeConnection(-1), std::logic_error);
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
  std::string body;  // "*": not checked
  std::string header = {};
};

// Test output names a case by its name.
void PrintTo(const SelectionCase& c, std::ostream* out) { *out << c.name; }

class AnswerSelection : public ::testing::TestWithParam<SelectionCase> {};

TEST_P(AnswerSelection, FollowsTheAnswersSet) {
  const SelectionCase& c = GetParam();
  StubServer server;
  c.setUp(server);
  server.Start();
  const std::string response = ExchangeRaw(server.Port(), c.request);
  EXPECT_EQ(StatusOf(response), c.status) << response;
  const std::size_t headEnd = response.find("\r\n\r\n");
  if (c.body != "*") {
    EXPECT_EQ(response.substr(headEnd + 4), c.body);
  }
  EXPECT_THAT(response.substr(0, headEnd), HasSubstr(c.header));
  EXPECT_EQ(server.Journal().size(), c.status == 400 ? 0U : 1U) << "a request is journaled";
}

const std::string kBinary("\x0a\x05\x08\x01\x12\x01\x45\0\xff", 9);

CannedAnswer Text(int status, std::string body, std::string contentType = "text/plain") {
  CannedAnswer answer = Answer(std::move(body));
  answer.status = status;
  answer.contentType = std::move(contentType);
  return answer;
}

dc::VersionDTO Version(int major) {
  dc::VersionDTO version;
  version.set_major(major);
  return version;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, AnswerSelection,
    ::testing::Values(
        SelectionCase{"CannedBinaryBody",
                      [](StubServer& s) { s.SetAnswer("MeasurementQuery", Answer(kBinary)); },
                      Post("/api/MeasurementQuery?trace=1", "x"), 200, kBinary,
                      "Content-Type: application/x-protobuf"},
        SelectionCase{"CannedStatusTypeAndHeaders",
                      [](StubServer& s) {
                        CannedAnswer moved = Text(302, "<html/>", "text/html");
                        moved.headers.push_back({"Location", "http://127.0.0.1:1/x"});
                        s.SetAnswer("MeasurementQuery", moved);
                      },
                      Post("/api/MeasurementQuery"), 302, "<html/>",
                      "Content-Type: text/html\r\nContent-Length: 7\r\n"
                      "Location: http://127.0.0.1:1/x\r\nConnection: close"},
        SelectionCase{"MessageWithItsStatus",
                      [](StubServer& s) { s.SetAnswerMessage("ApiVersionQuery", Version(3), 202); },
                      Post("/api/ApiVersionQuery"), 202, Version(3).SerializeAsString()},
        SelectionCase{"KnownTypeWithoutAnswerIsAnEmptyMessage", [](StubServer&) {},
                      Post("/api/MeasurementQuery"), 200, "", "Content-Length: 0"},
        SelectionCase{"ClearedAnswer",
                      [](StubServer& s) {
                        s.SetAnswer("MeasurementQuery", Text(500, "broken"));
                        s.SetAnswer("ApiVersionQuery", Text(500, "broken"));
                        s.ClearAnswer("MeasurementQuery");
                        if (!s.Answer("ApiVersionQuery") || s.Answer("MeasurementQuery")) {
                          throw std::logic_error("Answer() does not tell what is set");
                        }
                      },
                      Post("/api/MeasurementQuery"), 200, ""},
        SelectionCase{"ClearedAnswers",
                      [](StubServer& s) {
                        s.SetAnswer("MeasurementQuery", Text(500, "broken"));
                        s.ClearAnswers();
                      },
                      Post("/api/MeasurementQuery"), 200, ""},
        SelectionCase{"ResponderBeforeCannedAnswer",
                      [](StubServer& s) {
                        s.SetAnswer("MeasurementQuery", Text(500, "canned"));
                        s.SetResponder("MeasurementQuery", [](const JournalEntry& request) {
                          return Text(202, "echo:" + request.body);
                        });
                      },
                      Post("/api/MeasurementQuery", "ping"), 202, "echo:ping"},
        SelectionCase{"ClearedResponder",
                      [](StubServer& s) {
                        s.SetAnswer("MeasurementQuery", Text(203, "canned"));
                        s.SetResponder("MeasurementQuery",
                                       [](const JournalEntry&) { return Text(500, "x"); });
                        s.ClearResponder("MeasurementQuery");
                      },
                      Post("/api/MeasurementQuery"), 203, "canned"},
        SelectionCase{"ResponderOutOfMemory",
                      [](StubServer& s) {
                        s.SetResponder("MeasurementQuery", [](const JournalEntry&) -> CannedAnswer {
                          throw std::bad_alloc();
                        });
                      },
                      Post("/api/MeasurementQuery"), 500, "*"},
        SelectionCase{"PostWithoutLengthHasNoBody", [](StubServer&) {},
                      "POST /api/MeasurementQuery HTTP/1.1\r\nConnection: close\r\n\r\n", 200, ""},
        SelectionCase{"UnknownRequestType", [](StubServer&) {}, Post("/api/NoSuchQuery"), 404, "*"},
        SelectionCase{"PathOutsideTheApi", [](StubServer&) {}, Post("//api/MeasurementQuery"), 404,
                      "*"},
        SelectionCase{"GetInsteadOfPost", [](StubServer&) {},
                      "GET /api/MeasurementQuery HTTP/1.1\r\nConnection: close\r\n\r\n", 405, "*"},
        SelectionCase{"MalformedRequestLine", [](StubServer&) {},
                      "\tPOST /api/MeasurementQuery HTTP/1.1\r\n\r\n", 400, "*"}),
    [](const ::testing::TestParamInfo<SelectionCase>& info) { return info.param.name; });

TEST(StubServerAnswers, AreRefusedForRequestTypesTheServerDoesNotKnow) {
  StubServer server;
  EXPECT_THROW(server.SetAnswer("MeasurmentQuery", CannedAnswer{}), std::invalid_argument);
  EXPECT_THROW(server.SetAnswerMessage("", Version(4)), std::invalid_argument);
  EXPECT_THROW(server.SetResponder("ApiVersionQery", {}), std::invalid_argument);
}

// ---------------------------------------------------------------------------
// Deliveries, as a raw client sees them. The request keeps its connection:
// a broken-off delivery must close it all the same.

struct DeliveryCase {
  const char* name;
  CannedAnswer answer;
  std::string wire;  // every byte sent
  bool closes;       // the server closes the connection afterwards
};

// Test output names a case by its name.
void PrintTo(const DeliveryCase& c, std::ostream* out) { *out << c.name; }

CannedAnswer Lying(std::string body, std::uint64_t announced) {
  CannedAnswer answer = Answer(std::move(body));
  answer.announcedLength = announced;
  return answer;
}

CannedAnswer Trickle(std::string body, std::uint64_t repeat) {
  CannedAnswer answer = Answer(std::move(body), Delivery::Chunked);
  answer.repeat = repeat;
  answer.pace = std::chrono::milliseconds(1);
  return answer;
}

class DeliveryOnTheWire : public ::testing::TestWithParam<DeliveryCase> {};

TEST_P(DeliveryOnTheWire, SendsExactlyItsBytes) {
  StubServer server;
  server.SetAnswer("MeasurementQuery", GetParam().answer);
  server.Start();
  RawConnection client(server.Port());
  client.Send(Post("/api/MeasurementQuery", "", ""));
  const std::size_t atMost = GetParam().closes ? std::string::npos : GetParam().wire.size();
  EXPECT_EQ(client.Receive(atMost), GetParam().wire);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DeliveryOnTheWire,
    ::testing::Values(
        DeliveryCase{"ShorterThanAnnounced", Lying("short", 100),
                     std::string(kProtobufHead) + "Content-Length: 100\r\n\r\nshort", true},
        DeliveryCase{"LongerThanAnnounced", Lying("longer", 2),
                     std::string(kProtobufHead) + "Content-Length: 2\r\n\r\nlonger", true},
        DeliveryCase{"AsAnnounced", Lying("exact", 5),
                     std::string(kProtobufHead) + "Content-Length: 5\r\n\r\nexact", false},
        DeliveryCase{"Raw", Answer("HTTP/1.1 2OO Fine\r\nX: y", Delivery::Raw),
                     "HTTP/1.1 2OO Fine\r\nX: y", true},
        DeliveryCase{"TrickleOfChunks", Trickle("ab", 2),
                     std::string(kProtobufHead) +
                         "Transfer-Encoding: chunked\r\n\r\n2\r\nab\r\n2\r\nab\r\n0\r\n\r\n",
                     false},
        DeliveryCase{"EmptyChunkedBody", Trickle("", 3),
                     std::string(kProtobufHead) + "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
                     false}),
    [](const ::testing::TestParamInfo<DeliveryCase>& info) { return info.param.name; });

// Deliveries without end, or with a pause of an hour: the client that
// closes ends them, and so does Stop, or a test would hang.
struct UnendingCase {
  const char* name;
  CannedAnswer answer;
  std::string start;  // the bytes that come first
};

// Test output names a case by its name.
void PrintTo(const UnendingCase& c, std::ostream* out) { *out << c.name; }

CannedAnswer Unending(Delivery delivery, std::string body, hours delay, hours pace,
                      std::uint64_t repeat = 1) {
  CannedAnswer answer = Answer(std::move(body), delivery);
  answer.delay = delay;
  answer.pace = pace;
  answer.repeat = repeat;
  return answer;
}

class UnendingDelivery : public ::testing::TestWithParam<UnendingCase> {};

TEST_P(UnendingDelivery, EndsWhenTheClientClosesAndWhenTheServerStops) {
  StubServer server;
  server.SetAnswer("MeasurementQuery", GetParam().answer);
  server.Start();
  const std::string& start = GetParam().start;
  {
    RawConnection client(server.Port());
    client.Send(Post("/api/MeasurementQuery", "", ""));
    ASSERT_TRUE(Journaled(server, 1));
    EXPECT_EQ(client.Receive(start.size()), start);
  }
  EXPECT_TRUE(AllConnectionsClosed(server)) << "the delivery went on without its client";

  RawConnection client(server.Port());
  client.Send(Post("/api/MeasurementQuery", "", ""));
  ASSERT_TRUE(Journaled(server, 1));
  server.Stop();
  EXPECT_THAT(client.Receive(), ::testing::StartsWith(start));  // ends: the server closed
}

const std::string kChunkedHead = std::string(kProtobufHead) + "Transfer-Encoding: chunked\r\n\r\n";

INSTANTIATE_TEST_SUITE_P(
    Cases, UnendingDelivery,
    ::testing::Values(
        UnendingCase{"EndlessChunks",
                     Unending(Delivery::Chunked, "tick", hours(0), hours(0), kEndless),
                     kChunkedHead + "4\r\ntick\r\n4\r\ntick\r\n"},
        UnendingCase{"EndlessHeaders", Unending(Delivery::EndlessHeaders, "", hours(0), hours(0)),
                     "HTTP/1.1 200 OK\r\nX-Endless: xxxx"},
        UnendingCase{"SlowTrickle", Unending(Delivery::Chunked, "tick", hours(0), hours(1), 2),
                     kChunkedHead},
        UnendingCase{"LongDelay", Unending(Delivery::Whole, "late", hours(1), hours(0)), ""},
        UnendingCase{"SilenceThenClose",
                     Unending(Delivery::CloseWithoutAnswer, "", hours(1), hours(0)), ""},
        UnendingCase{"StallMidBody",
                     Unending(Delivery::CloseMidBody, "0123456789", hours(1), hours(0)),
                     std::string(kProtobufHead) + "Content-Length: 10\r\n\r\n01234"}),
    [](const ::testing::TestParamInfo<UnendingCase>& info) { return info.param.name; });

// ---------------------------------------------------------------------------
// The journal and the connections.

class StubServerTest : public ::testing::Test {
 protected:
  void SetUp() override { server.Start(); }
  StubServer server;
};

TEST_F(StubServerTest, JournalKeepsTheHeadAsItCameAndHeadersInArrivalOrder) {
  const std::string head =
      "POST /api/MeasurementQuery HTTP/1.1\r\n"
      "Zeta: last in the alphabet\r\n"
      "alpha:no-blank\r\n"
      "X-Dup: one\r\n"
      "Content-Type: application/x-protobuf\r\n"
      "X-Dup: two\r\n"
      "GatewayApiAuthentication:  token with blanks \t\r\n"
      "Transfer-Encoding: chunked\r\n"
      "Connection: close\r\n"
      "\r\n";

  EXPECT_EQ(StatusOf(ExchangeRaw(server.Port(), head + "2\r\n\x0a\x03\r\n3\r\nabc\r\n0\r\n\r\n")),
            200);

  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 1U);
  const JournalEntry& entry = journal[0];
  EXPECT_EQ(entry.method, "POST");
  EXPECT_EQ(entry.path, "/api/MeasurementQuery");
  EXPECT_EQ(entry.head, head);
  EXPECT_EQ(entry.body,
            "\x0a\x03"
            "abc");
  EXPECT_THAT(
      entry.headers,
      ElementsAre(
          HeaderField{"Zeta", "last in the alphabet"}, HeaderField{"alpha", "no-blank"},
          HeaderField{"X-Dup", "one"}, HeaderField{"Content-Type", "application/x-protobuf"},
          HeaderField{"X-Dup", "two"}, HeaderField{"GatewayApiAuthentication", "token with blanks"},
          HeaderField{"Transfer-Encoding", "chunked"}, HeaderField{"Connection", "close"}));
  ASSERT_NE(entry.FindHeader("x-dup"), nullptr);
  EXPECT_EQ(*entry.FindHeader("x-dup"), "one");
  EXPECT_EQ(entry.FindHeader("Accept"), nullptr);
}

TEST_F(StubServerTest, CountsConnectionsAndNumbersTheRequestsTheyCarry) {
  constexpr std::size_t kClients = 3;
  {
    std::vector<std::unique_ptr<RawConnection>> clients;
    for (std::size_t i = 0; i < kClients; ++i) {
      clients.push_back(std::make_unique<RawConnection>(server.Port()));
      clients.back()->Send(Post("/api/ApiVersionQuery", "", ""));
    }
    ASSERT_TRUE(Journaled(server, kClients));
    EXPECT_EQ(server.PeakConnections(), kClients);
  }
  ASSERT_TRUE(AllConnectionsClosed(server));
  EXPECT_EQ(server.Journal().size(), 0U);

  // Two requests in one write, one of them asking for a 100 Continue.
  const std::string responses =
      ExchangeRaw(server.Port(), Post("/api/MeasurementQuery", "one", "Expect: 100-continue\r\n") +
                                     Post("/api/ApiVersionQuery", "two"));
  EXPECT_THAT(responses, HasSubstr("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200"));
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 2U);
  EXPECT_EQ(journal[0].body, "one");
  EXPECT_EQ(journal[1].body, "two");
  EXPECT_EQ(journal[0].FindHeader("Connection"), nullptr);
  EXPECT_EQ(journal[0].connection, kClients + 1);
  EXPECT_EQ(journal[1].connection, kClients + 1);
  EXPECT_EQ(server.PeakConnections(), 1U);
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

}  // namespace
}  // namespace vrex::stub
