// The stub's fault deliveries and responders as they appear on the wire, so
// that the fault matrix rests on faults that are what they claim to be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "RawHttp.h"
#include "vrex/stub/StubServer.h"

namespace vrex::reliability {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using testing::ExchangeRaw;
using testing::StatusOf;

std::string RequestWithBody(const std::string& body) {
  return "POST /api/ApiVersionQuery HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n"
         "Content-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

struct Exchange {
  std::string head;  ///< status line and headers
  std::string body;  ///< every byte after the head, as it came
};

Exchange Split(const std::string& raw) {
  const auto end = raw.find("\r\n\r\n");
  if (end == std::string::npos) {
    return {raw, ""};
  }
  return {raw.substr(0, end + 2), raw.substr(end + 4)};
}

class StubFaultDelivery : public ::testing::Test {
 protected:
  void SetUp() override { server.Start(); }
  void TearDown() override { server.Stop(); }

  Exchange Send(const std::string& body = "") {
    return Split(ExchangeRaw(server.Port(), RequestWithBody(body)));
  }

  stub::StubServer server;
};

stub::CannedAnswer Delivered(stub::Delivery delivery, std::string body) {
  stub::CannedAnswer answer;
  answer.body = std::move(body);
  answer.delivery = delivery;
  return answer;
}

TEST_F(StubFaultDelivery, ChunkedSendsTheBodyRepeatedOneChunkEach) {
  stub::CannedAnswer answer = Delivered(stub::Delivery::Chunked, "0123456789abcdef!");
  answer.repeat = 3;
  server.SetAnswer("ApiVersionQuery", answer);

  const Exchange exchange = Send();

  EXPECT_EQ(StatusOf(exchange.head), 200);
  EXPECT_THAT(exchange.head, HasSubstr("Transfer-Encoding: chunked"));
  EXPECT_THAT(exchange.head, Not(HasSubstr("Content-Length")));
  const std::string chunk = "11\r\n0123456789abcdef!\r\n";  // 0x11 = 17 bytes
  EXPECT_EQ(exchange.body, chunk + chunk + chunk + "0\r\n\r\n");
}

TEST_F(StubFaultDelivery, CloseMidBodyAnnouncesTheWholeBodyButSendsHalf) {
  server.SetAnswer("ApiVersionQuery", Delivered(stub::Delivery::CloseMidBody, "0123456789"));

  const Exchange exchange = Send();

  EXPECT_EQ(StatusOf(exchange.head), 200);
  EXPECT_THAT(exchange.head, HasSubstr("Content-Length: 10"));
  EXPECT_EQ(exchange.body, "01234");
}

TEST_F(StubFaultDelivery, CloseWithoutAnswerSendsNothingAndIsJournaled) {
  server.SetAnswer("ApiVersionQuery", Delivered(stub::Delivery::CloseWithoutAnswer, "unsent"));

  EXPECT_EQ(ExchangeRaw(server.Port(), RequestWithBody("x")), "");
  EXPECT_EQ(server.Journal().size(), 1u);
}

TEST_F(StubFaultDelivery, ResponderAnswersFromTheRequestBeforeAnyCannedAnswer) {
  server.SetAnswer("ApiVersionQuery", Delivered(stub::Delivery::Whole, "canned"));
  server.SetResponder("ApiVersionQuery", [](const stub::JournalEntry& request) {
    stub::CannedAnswer answer;
    answer.status = 202;
    answer.body = "echo:" + request.body;
    return answer;
  });

  const Exchange computed = Send("ping");
  server.ClearResponder("ApiVersionQuery");
  const Exchange canned = Send("ping");

  EXPECT_EQ(StatusOf(computed.head), 202);
  EXPECT_EQ(computed.body, "echo:ping");
  EXPECT_EQ(canned.body, "canned");
}

TEST_F(StubFaultDelivery, AThrowingResponderIsAnsweredWith500) {
  server.SetResponder("ApiVersionQuery", [](const stub::JournalEntry&) -> stub::CannedAnswer {
    throw std::runtime_error("responder failed");
  });

  EXPECT_EQ(StatusOf(Send().head), 500);
}

TEST_F(StubFaultDelivery, RespondersForUnknownRequestTypesAreRefused) {
  EXPECT_THROW(server.SetResponder("ApiVersionQery", {}), std::invalid_argument);
}

}  // namespace
}  // namespace vrex::reliability
