// The ten typed reads and CheckVersion over real HTTP.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "StubFixture.h"
#include "VrexClient.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

// Field 1000 of any answer: unknown to every contract type, kept by the
// parser and written back, so it shows the body reached the result.
const std::string kMarkedBody(
    "\xc2\x3e\x03"
    "abc",
    6);

template <class Query>
Query QueryWithFactory() {
  Query query;
  const auto* factory = query.GetDescriptor()->FindFieldByName("Factory");
  if (factory != nullptr) query.GetReflection()->SetString(&query, factory, "Plant-North");
  return query;
}

template <class Query, class Answer>
void ExpectTypedRead(vrex::stub::StubServer& server) {
  const std::string endpoint = Query::descriptor()->name();  // named after its query
  SCOPED_TRACE(endpoint);
  server.ClearJournal();
  vrex::stub::CannedAnswer answer;
  answer.body = kMarkedBody;
  server.SetAnswer(endpoint, answer);

  const Query query = QueryWithFactory<Query>();
  dc::MessageContainer status;
  status.set_codecategory(en::CodeCategory_Topology);
  const auto result = VrexClient::SendToServer(server.BaseUrl(), query, status, "");
  static_assert(std::is_same_v<std::decay_t<decltype(result)>, Answer>);

  EXPECT_EQ(status.SerializeAsString(), "");
  EXPECT_EQ(result.SerializeAsString(), kMarkedBody);
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 1u);
  EXPECT_EQ(journal[0].path, "/api/" + endpoint);
  EXPECT_EQ(journal[0].body, query.ByteSizeLong() == 0 ? "{}" : query.SerializeAsString());
}

using TypedRead = StubFixture;

TEST_F(TypedRead, EveryTypedReadReachesItsEndpointAndReturnsItsType) {
  ExpectTypedRead<dc::ApiVersionQuery, dc::VersionDTO>(server);
  ExpectTypedRead<dc::SimpleTopologyQuery, dc::SimpleTopologyContainer>(server);
  ExpectTypedRead<dc::GeneralInformationByIdQuery, dc::GeneralInformationContainer>(server);
  ExpectTypedRead<dc::GeneralInformationQuery, dc::GeneralInformationContainer>(server);
  ExpectTypedRead<dc::ResultDbIdNameTablesQuery, dc::IdNameTableStore>(server);
  ExpectTypedRead<dc::ProtocolCrossReferenceQuery, dc::ProtocolCrossReferenceStore>(server);
  ExpectTypedRead<dc::MeasurementByIdQuery, dc::MeasurementContainer>(server);
  ExpectTypedRead<dc::MeasurementQuery, dc::MeasurementContainer>(server);
  using Tracks = dc::VectorTrackOfMeasurementsContainer;
  ExpectTypedRead<dc::VectorTrackOfMeasurementsByIdQuery, Tracks>(server);
  ExpectTypedRead<dc::VectorTrackOfMeasurementsQuery, Tracks>(server);
}

TEST_F(TypedRead, BaseUrlIsJoinedUnchanged) {
  dc::MessageContainer status;
  VrexClient::SendToServer(server.BaseUrl() + "/", dc::MeasurementQuery(), status, "");
  VrexClient::SendToServer(server.BaseUrl() + "/prefix", dc::MeasurementQuery(), status, "");
  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 2u);
  EXPECT_EQ(journal[0].path, "//api/MeasurementQuery");
  EXPECT_EQ(journal[1].path, "/prefix/api/MeasurementQuery");
}

struct VersionCase {
  const char* name;
  int status;
  bool emptyBody;
  int major, minor, patch;
  bool accepted;
  en::CodeCategory category;
};

const VersionCase kVersionCases[] = {
    {"Exact4_0_0", 200, false, 4, 0, 0, true, en::CodeCategory_None},
    {"Newer4_7_3", 200, false, 4, 7, 3, true, en::CodeCategory_None},
    {"NegativeMinor", 200, false, 4, -1, 0, false, en::CodeCategory_None},
    {"Older3_9", 200, false, 3, 9, 0, false, en::CodeCategory_None},
    {"Newer5_0", 200, false, 5, 0, 0, false, en::CodeCategory_None},
    {"EmptyBody", 200, true, 0, 0, 0, false, en::CodeCategory_None},
    {"Unauthorized", 401, false, 4, 0, 0, false, en::CodeCategory_ApiPipeline},
};

void PrintTo(const VersionCase& c, std::ostream* out) { *out << c.name; }

class CheckVersion : public StubFixture, public ::testing::WithParamInterface<VersionCase> {};

TEST_P(CheckVersion, AcceptsOnlyMajorFourWithAMinorOfAtLeastZero) {
  const VersionCase& c = GetParam();
  dc::VersionDTO version;
  version.set_major(c.major);
  version.set_minor(c.minor);
  version.set_patch(c.patch);
  vrex::stub::CannedAnswer answer;
  answer.status = c.status;
  answer.body = c.emptyBody ? "" : version.SerializeAsString();
  server.SetAnswer("ApiVersionQuery", answer);

  dc::MessageContainer status;
  status.set_codecategory(en::CodeCategory_License);
  EXPECT_EQ(VrexClient::CheckVersion(server.BaseUrl(), status, "ignored"), c.accepted);
  EXPECT_EQ(status.codecategory(), c.category);
  EXPECT_EQ(status.level(), c.category == en::CodeCategory_None ? en::Trace : en::Error);
  if (c.status == 401) {
    EXPECT_EQ(status.detailcode(), en::ApiPipeline_Unauthorized);
  }

  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 1u);
  EXPECT_EQ(journal[0].path, "/api/ApiVersionQuery");
  EXPECT_EQ(journal[0].body, "{}");
  const std::string* contentType = journal[0].FindHeader("Content-Type");
  ASSERT_NE(contentType, nullptr);
  EXPECT_EQ(*contentType, "application/json");
}

INSTANTIATE_TEST_SUITE_P(EstablishedClient, CheckVersion, ::testing::ValuesIn(kVersionCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
