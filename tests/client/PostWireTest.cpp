// What VrexClient::Post puts on the wire: path, headers in order, body.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "StubFixture.h"
#include "VrexClient.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;
using vrex::stub::HeaderField;
using vrex::stub::JournalEntry;

// The headers a client chose to send; libcurl's own framing (Host,
// Content-Length) is left out.
std::vector<HeaderField> ChosenHeaders(const JournalEntry& request) {
  static const std::set<std::string> framing = {"Host", "Content-Length"};
  std::vector<HeaderField> chosen;
  for (const HeaderField& header : request.headers) {
    if (framing.count(header.name) == 0) chosen.push_back(header);
  }
  return chosen;
}

// The token the build was configured with, handed to this test as hex.
std::string ConfiguredToken() {
  const std::string hex = VREX_CONFIGURED_TOKEN_HEX;
  std::string token;
  for (std::size_t at = 0; at + 1 < hex.size(); at += 2) {
    token += static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
  }
  return token;
}

using EstablishedPostWire = StubFixture;

JournalEntry OnlyRequest(const vrex::stub::StubServer& server) {
  const auto journal = server.Journal();
  EXPECT_EQ(journal.size(), 1u);
  return journal.empty() ? JournalEntry{} : journal.front();
}

TEST_F(EstablishedPostWire, RequestWithFieldsIsSentAsBinaryWithThreeHeadersInOrder) {
  dc::MeasurementQuery query;
  query.set_factory("Plant-North");
  query.set_line("Line-A");
  query.mutable_time();  // empty: a 0 byte in mid-body, so the body's length must be given
  query.mutable_lastn()->set_topn(3);
  dc::MeasurementContainer response;
  VrexClient::Post(Url("MeasurementQuery"), query, response, "");

  const JournalEntry request = OnlyRequest(server);
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.path, "/api/MeasurementQuery");
  EXPECT_EQ(request.body, query.SerializeAsString());
  const auto headers = ChosenHeaders(request);
  ASSERT_EQ(headers.size(), 3u);
  // The three lines byte for byte and next to each other, token included.
  EXPECT_NE(request.head.find("\r\nContent-Type: application/x-protobuf\r\n"
                              "accept: application/x-protobuf\r\n"
                              "GatewayApiAuthentication: " +
                              ConfiguredToken() + "\r\n"),
            std::string::npos)
      << request.head;
}

TEST_F(EstablishedPostWire, EmptyRequestIsSentAsJsonBraces) {
  dc::SimpleTopologyContainer response;
  VrexClient::Post(Url("SimpleTopologyQuery"), dc::SimpleTopologyQuery(), response, "");

  const JournalEntry request = OnlyRequest(server);
  EXPECT_EQ(request.body, "{}");
  const auto headers = ChosenHeaders(request);
  ASSERT_EQ(headers.size(), 3u);
  EXPECT_EQ(headers[0], (HeaderField{"Content-Type", "application/json"}));
  EXPECT_EQ(headers[1], (HeaderField{"accept", "application/x-protobuf"}));
  EXPECT_EQ(headers[2].name, "GatewayApiAuthentication");
}

TEST_F(EstablishedPostWire, UrlIsUsedExactlyAsGiven) {
  dc::VersionDTO response;
  for (const std::string suffix : {"?factory=Plant%20North&x=%2F", "%41piVersion"}) {
    server.ClearJournal();
    VrexClient::Post(Url("ApiVersionQuery") + suffix, dc::ApiVersionQuery(), response, "");
    EXPECT_EQ(OnlyRequest(server).path, "/api/ApiVersionQuery" + suffix);
  }
}

// Headers included: every call carries the same token.
TEST_F(EstablishedPostWire, TrailingTextArgumentChangesNothing) {
  dc::GeneralInformationQuery query;
  query.set_factory("Plant-North");
  dc::GeneralInformationContainer response;
  for (const char* text : {"", "anything", "\x01\x02 binary"}) {
    VrexClient::Post(Url("GeneralInformationQuery"), query, response, text);
  }
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 3u);
  for (const JournalEntry& request : journal) {
    EXPECT_EQ(request.path, journal[0].path);
    EXPECT_EQ(request.body, journal[0].body);
    EXPECT_EQ(request.headers, journal[0].headers);
  }
}

}  // namespace
