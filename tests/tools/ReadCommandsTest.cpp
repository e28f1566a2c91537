// The friendly read commands: version, topology, tests, measurements, log.
// What they print, what they send, and how they fail.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "GeneralInformationQuery.pb.h"
#include "LogEntryContainer.pb.h"
#include "LogEntryQuery.pb.h"
#include "MeasurementQuery.pb.h"
#include "PlantServer.h"
#include "SimpleTopologyContainer.pb.h"
#include "VersionDTO.pb.h"
#include "vrex/MessageJson.h"
#include "vrex/data/Time.h"

namespace vrex::cli {
namespace {

namespace dc = ::Korvan::KQ::DataContracts;
using testing::PlantServerTest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const std::vector<std::string> kLineA = {"--factory", "Plant-North", "--line", "Line-A"};

std::vector<std::string> LineA(std::vector<std::string> more) {
  more.insert(more.begin(), kLineA.begin(), kLineA.end());
  return more;
}

template <class Message>
Message LastSent(const std::vector<stub::JournalEntry>& received) {
  Message message;
  EXPECT_FALSE(received.empty());
  if (!received.empty()) {
    EXPECT_TRUE(message.ParseFromString(received.back().body));
  }
  return message;
}

using VersionCommand = PlantServerTest;

TEST_F(VersionCommand, ExitStatusTellsWhetherTheServerIsAccepted) {
  struct Case {
    int major;
    int minor;
    int exitCode;
    std::string verdict;
  };
  const std::vector<Case> cases = {{4, 2, 0, "4.2.0: accepted"},
                                   {4, 0, 0, "4.0.0: accepted"},
                                   {5, 0, 7, "5.0.0: NOT accepted"},
                                   {3, 9, 7, "3.9.0: NOT accepted"},
                                   {4, -1, 7, "4.-1.0: NOT accepted"}};
  for (const Case& testCase : cases) {
    dc::VersionDTO version;
    version.set_major(testCase.major);
    version.set_minor(testCase.minor);
    server.SetAnswerMessage("ApiVersionQuery", version);
    const auto result = Vrex("version");
    EXPECT_EQ(result.exitCode, testCase.exitCode) << testCase.verdict << result.err;
    EXPECT_THAT(result.out, HasSubstr(testCase.verdict));
  }
}

TEST_F(VersionCommand, JsonOutputIsTheVersionRecord) {
  const auto result = Vrex("version", {"--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto version = MessageFromJson("VersionDTO", result.out);
  ASSERT_TRUE(version.Ok()) << version.GetStatus().Message();
  EXPECT_EQ(static_cast<const dc::VersionDTO&>(*version.Value()).patch(), 1);
}

using TopologyCommand = PlantServerTest;

TEST_F(TopologyCommand, DrawsFactoriesLinesWithTheirZonesAndBenches) {
  const auto result = Vrex("topology");
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("\u251c\u2500\u2500 Plant-North\n"));
  EXPECT_THAT(result.out, HasSubstr("\u2514\u2500\u2500 Plant-South\n"));
  EXPECT_THAT(result.out, HasSubstr("Line-A  (Europe/Berlin, UTC+01:00)"));
  EXPECT_THAT(result.out, HasSubstr("Line-C  (America/Chicago, UTC-06:00; benches Etc/UTC"));
  EXPECT_THAT(result.out, HasSubstr("\u2502   \u2502   \u2514\u2500\u2500 Bench-3\n"));
}

TEST_F(TopologyCommand, JsonOutputParsesAsTheTopology) {
  const auto result = Vrex("topology", {"--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto topology = MessageFromJson("SimpleTopologyContainer", result.out);
  ASSERT_TRUE(topology.Ok()) << topology.GetStatus().Message();
  EXPECT_EQ(static_cast<const dc::SimpleTopologyContainer&>(*topology.Value()).values_size(), 2);
}

using TestsCommand = PlantServerTest;

TEST_F(TestsCommand, PrintsTheHeadersInTheLinesTimeZone) {
  const auto result = Vrex("tests", kLineA);
  ASSERT_EQ(result.exitCode, 0) << result.err;
  // 1710223091 s is 2024-03-12 05:58:11 UTC; Berlin is on winter time then.
  EXPECT_THAT(result.out, HasSubstr("TIME (Europe/Berlin)"));
  EXPECT_THAT(result.out, HasSubstr("1001  2024-03-12T06:58:11+01:00  SN-24-0003141"));
  EXPECT_THAT(result.out, HasSubstr("NOK"));
}

TEST_F(TestsCommand, ALineWithoutAStatedZoneIsShownInUtc) {
  dc::SimpleTopologyContainer topology;
  auto* line = topology.add_values()->add_lines();
  topology.mutable_values(0)->set_name("Plant-North");
  line->set_name("Line-A");
  server.SetAnswerMessage("SimpleTopologyQuery", topology);
  const auto result = Vrex("tests", kLineA);
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("TIME (UTC)"));
  EXPECT_THAT(result.out, HasSubstr("2024-03-12T05:58:11Z"));
}

TEST_F(TestsCommand, AnUnknownLineIsNotedAndTimesStayInUtc) {
  const auto result = Vrex("tests", {"--factory", "Plant-North", "--line", "Line-Z"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("no line \"Line-Z\" in factory \"Plant-North\""));
  EXPECT_THAT(result.out, HasSubstr("2024-03-12T05:58:11Z"));
}

TEST_F(TestsCommand, SendsTheLineAndFiltersOfTheOptions) {
  const auto result =
      Vrex("tests",
           LineA({"--last", "5", "--bench", "Bench-3", "--bench", "Bench-1", "--serial", "SN-1"}));
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto query = LastSent<dc::GeneralInformationQuery>(Received("GeneralInformationQuery"));
  EXPECT_EQ(query.factory(), "Plant-North");
  EXPECT_EQ(query.line(), "Line-A");
  EXPECT_EQ(query.lastn().topn(), 5);
  EXPECT_THAT(query.bench().items(), ElementsAre("Bench-3", "Bench-1"));
  EXPECT_THAT(query.serialnumber().items(), ElementsAre("SN-1"));
  EXPECT_FALSE(query.has_time());
}

TEST_F(TestsCommand, ReadsAWindowInTheLinesTimeZone) {
  const auto result =
      Vrex("tests", LineA({"--from", "2024-03-12T08:00", "--until", "2024-07-01T08:00:00Z"}));
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto query = LastSent<dc::GeneralInformationQuery>(Received("GeneralInformationQuery"));
  ASSERT_TRUE(query.has_time());
  EXPECT_EQ(data::FormatIso8601(query.time().from()).Value(), "2024-03-12T07:00:00.0000000Z");
  EXPECT_EQ(data::FormatIso8601(query.time().until()).Value(), "2024-07-01T08:00:00.0000000Z");
  EXPECT_FALSE(query.has_lastn());
}

TEST_F(TestsCommand, SinceAsksForTheSpanBackFromNow) {
  const auto result = Vrex("tests", LineA({"--since", "2h"}));
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto query = LastSent<dc::GeneralInformationQuery>(Received("GeneralInformationQuery"));
  const auto from = data::ToSystemTime(query.time().from());
  const auto until = data::ToSystemTime(query.time().until());
  ASSERT_TRUE(from.Ok() && until.Ok());
  EXPECT_EQ(std::chrono::duration_cast<std::chrono::minutes>(until.Value() - from.Value()),
            std::chrono::minutes(120));
}

TEST_F(TestsCommand, BadSelectionsAreUsageErrors) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {LineA({"--since", "2x"}), "\"2x\" is no time span"},
      {LineA({"--from", "2024-13-01"}), "\"2024-13-01\" is no ISO 8601 time"},
      {LineA({"--from", "2024-03-12", "--until", "2024-03-11"}), "--until lies before --from"},
      {LineA({"--since", "2h", "--from", "2024-03-12"}), "excludes"},
      {{"--factory", "Plant-North"}, "--line is required"},
  };
  for (const auto& [arguments, message] : cases) {
    const auto result = Vrex("tests", arguments);
    EXPECT_EQ(result.exitCode, 2) << message;
    EXPECT_THAT(result.err, HasSubstr(message));
  }
  EXPECT_TRUE(Received("GeneralInformationQuery").empty());
}

using MeasurementsCommand = PlantServerTest;

TEST_F(MeasurementsCommand, ShowsValuesWithUnitsAndSummarisesVectors) {
  const auto result = Vrex("measurements", kLineA);
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("Test 1002  2024-03-12T07:01:47+01:00  SN-24-0003142"));
  EXPECT_THAT(result.out, HasSubstr("Run-Up/Level/Mic-1/Gearbox/RMS/MIC-4189-A"));
  EXPECT_THAT(result.out, HasSubstr("72.4 dB re 2e-05 Pa at 1500 rpm"));
  EXPECT_THAT(result.out, HasSubstr("8 points, x 0..1750 Hz"));
  EXPECT_THAT(result.out, HasSubstr("3 vectors of 4 points"));
  EXPECT_THAT(result.out, HasSubstr("invalid: Sensor overload at 3800 rpm"));
  EXPECT_THAT(result.out, HasSubstr("Gearbox noise above limit"));
}

TEST_F(MeasurementsCommand, SendsTheQuantityFilter) {
  const auto result =
      Vrex("measurements", LineA({"--last", "1", "--clavis", "Run-Up/Level/Mic-1/Gearbox/RMS/"}));
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto query = LastSent<dc::MeasurementQuery>(Received("MeasurementQuery"));
  ASSERT_EQ(query.clavis().items_size(), 1);
  EXPECT_EQ(query.clavis().items(0).instrumentparameter(), "RMS");
  EXPECT_EQ(query.clavis().items(0).sensor(), "");
}

TEST_F(MeasurementsCommand, AnIncompleteQuantityIsAUsageError) {
  const auto result = Vrex("measurements", LineA({"--clavis", "Run-Up/Level"}));
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("has 2 parts"));
  EXPECT_TRUE(server.Journal().empty());
}

TEST_F(MeasurementsCommand, ByIdSendsTheIdentifiers) {
  const auto result = Vrex("measurements", LineA({"--id", "1002", "--id", "1004"}));
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(Received("MeasurementByIdQuery").size(), 1U);
  EXPECT_THAT(result.out, HasSubstr("Test 1004"));
}

using LogCommand = PlantServerTest;

TEST_F(LogCommand, ShowsEntriesAndSendsTheNarrowingFields) {
  dc::LogEntryContainer log;
  log.set_factory("Plant-North");
  log.set_line("Line-A");
  auto* entry = log.add_logentries();
  entry->set_level(dc::Enumerator::Warning);
  entry->set_sourcecontext("ArchiveWriter");
  entry->set_message("Disk almost full");
  entry->set_exception("IOException: no space");
  *entry->mutable_timestamp() =
      data::FromSystemTime(std::chrono::system_clock::time_point(std::chrono::seconds(1710223091)));
  server.SetAnswerMessage("LogEntryQuery", log);

  const auto result = Vrex("log", LineA({"--level", "Warning", "--source", "ArchiveWriter"}));
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("Log of Plant-North / Line-A"));
  EXPECT_THAT(result.out, HasSubstr("2024-03-12T06:58:11+01:00  Warning  ArchiveWriter"));
  EXPECT_THAT(result.out, HasSubstr("Disk almost full"));
  EXPECT_THAT(result.out, HasSubstr("exception: IOException: no space"));

  const auto query = LastSent<dc::LogEntryQuery>(Received("LogEntryQuery"));
  EXPECT_EQ(query.level(), dc::Enumerator::Warning);
  EXPECT_EQ(query.sourcecontext(), "ArchiveWriter");
  EXPECT_FALSE(query.has_testbench());
  EXPECT_FALSE(query.has_fromtime());
}

TEST_F(LogCommand, AnUnknownLevelNamesTheLevels) {
  const auto result = Vrex("log", {"--level", "Loud"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("Trace, Debug, Information, Warning, Error, Critical, None"));
}

}  // namespace
}  // namespace vrex::cli
