// The generated plant as the stub serves it: every filter of a test query
// against a plain in-memory reading of the same tests, the same test alike in
// every answer, commands seen by the next query, and a generator that is
// deterministic and realistic.

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "AddShiftCommand.pb.h"
#include "DefectReportContainer.pb.h"
#include "ErrorGroupsContainer.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "IdNameTableStore.pb.h"
#include "LastAveragesContainer.pb.h"
#include "LineResultCountContainer.pb.h"
#include "LogEntryContainer.pb.h"
#include "MainDataInfoContainer.pb.h"
#include "MeasurementContainer.pb.h"
#include "MeasurementInformationContainer.pb.h"
#include "MeasurementValueIndexContainer.pb.h"
#include "PropagateTopologyModelContainer.pb.h"
#include "ProtocolCrossReferenceStore.pb.h"
#include "RawHttp.h"
#include "ReferenceUnitContainer.pb.h"
#include "RejectMessagesContainer.pb.h"
#include "ResultCountContainer.pb.h"
#include "ScratchDirectory.h"
#include "ShiftContainer.pb.h"
#include "SimpleTopologyContainer.pb.h"
#include "TestHistoryErrorGroupsContainer.pb.h"
#include "TestHistoryGeneralContainer.pb.h"
#include "TestHistoryTopNContainer.pb.h"
#include "TopNRejectsContainer.pb.h"
#include "TopologyModel.pb.h"
#include "VectorTrackOfMeasurementsContainer.pb.h"
#include "VersionDTO.pb.h"
#include "WavFileInfo.pb.h"
#include "plant/DaylightSaving.h"
#include "plant/Sqlite.h"
#include "plant/TestValues.h"
#include "vrex/MessageJson.h"
#include "vrex/stub/Plant.h"
#include "vrex/stub/StubServer.h"

namespace vrex::stub {
namespace {

namespace dc = Korvan::KQ::DataContracts;
using Header = dc::GeneralInformation;

constexpr std::int64_t kNow = 1'795'000'000;  // a fixed present moment
constexpr const char* kLine = R"("Factory": "Plant-North", "Line": "Line-A")";

std::string Slurp(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// The plant's answer to `json` as a `requestType`; `status` when it is no 200.
CannedAnswer Ask(const Plant& plant, const std::string& requestType, const std::string& json) {
  auto request = MessageFromJson(requestType, json);
  EXPECT_TRUE(request.Ok()) << json;
  JournalEntry entry;
  entry.body = request.Ok() ? request.Value()->SerializeAsString() : "";
  return plant.Answer(requestType, entry).value_or(TextAnswer(599, "no answer"));
}

template <typename Answer>
Answer AskFor(const Plant& plant, const std::string& requestType, const std::string& json) {
  const CannedAnswer answer = Ask(plant, requestType, json);
  EXPECT_EQ(answer.status, 200) << requestType << " " << json << ": " << answer.body;
  Answer message;
  EXPECT_TRUE(message.ParseFromString(answer.body));
  return message;
}

/// A request of Line-A with `filters`, the members that follow the line's.
std::string OnLineA(const std::string& filters = "") {
  return std::string("{") + kLine + (filters.empty() ? "" : ", " + filters) + "}";
}

std::vector<int> IdsOf(const dc::GeneralInformationContainer& tests) {
  std::vector<int> ids;
  for (const Header& test : tests.values()) ids.push_back(test.pkident());
  return ids;
}

class PlantQueries : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    directory_ = new vrex::testing::ScratchDirectory();
    GeneratePlantFile(directory_->Path() / "plant.sqlite", 1600, 7, 7, kNow);
  }
  static void TearDownTestSuite() { delete directory_; }

  void SetUp() override {
    // Each test a copy of its own: commands change it.
    const auto file =
        directory_->Path() /
        (std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + ".sqlite");
    std::filesystem::copy_file(directory_->Path() / "plant.sqlite", file);
    plant = std::make_unique<Plant>(file);
    all = Get<dc::GeneralInformationContainer>("GeneralInformationQuery");
  }

  /// The plant's answer to a request of Line-A with `filters`.
  CannedAnswer Send(const std::string& type, const std::string& filters = "") const {
    return Ask(*plant, type, OnLineA(filters));
  }
  int Status(const std::string& type, const std::string& filters = "") const {
    return Send(type, filters).status;
  }
  template <typename Answer>
  Answer Get(const std::string& type, const std::string& filters = "") const {
    return AskFor<Answer>(*plant, type, OnLineA(filters));
  }

  std::vector<int> Query(const std::string& filters) {
    return IdsOf(Get<dc::GeneralInformationContainer>("GeneralInformationQuery", filters));
  }

  static inline vrex::testing::ScratchDirectory* directory_ = nullptr;
  std::unique_ptr<Plant> plant;
  dc::GeneralInformationContainer all;  // every test of Line-A, oldest first
};

std::string Time(const Header& test) { return std::to_string(test.measurementtime().value()); }

int LocalMinute(const Header& test) {  // Line-A keeps UTC+1
  return static_cast<int>((test.measurementtime().value() / 60 + 60) % 1440);
}

TEST_F(PlantQueries, EveryFilterSelectsWhatAPlainReadingOfTheTestsDoes) {
  ASSERT_EQ(all.values_size(), 400);
  const auto& t = all.values();
  std::map<std::string, std::int64_t> firstTime;  // of each unit
  for (const Header& test : t) firstTime.emplace(test.serial(), test.measurementtime().value());
  const Header& failed =
      *std::find_if(t.begin(), t.end(), [](const Header& h) { return h.resultid() != 1; });

  struct Row {
    std::string filters;
    std::function<bool(const Header&)> selects;
    int last = 0;  // LastN.TopN
    bool first = false;
  };
  const auto window = [&](const Header& h) {
    return h.measurementtime().value() >= t[100].measurementtime().value() &&
           h.measurementtime().value() <= t[140].measurementtime().value();
  };
  const std::string time = R"("Time": {"From": {"value": )" + Time(t[100]) +
                           R"(, "scale": "SECONDS"}, "Until": {"value": )" + Time(t[140]) +
                           R"(, "scale": "SECONDS"}})";
  const std::string halfPast = R"("Time": {"From": {"value": )" +
                               std::to_string(t[100].measurementtime().value() * 1000 + 500) +
                               R"(, "scale": "MILLISECONDS"}})";
  const std::vector<Row> rows = {
      {time, window},
      {halfPast,
       [&](const Header& h) {
         return h.measurementtime().value() > t[100].measurementtime().value();
       }},
      {R"("LastN": {"TopN": 5})", [](const Header&) { return true; }, 5},
      {R"("LastN": {"TopN": 5, "TopNFirst": true})", [](const Header&) { return true; }, 5, true},
      {time + R"(, "LastN": {"TopN": 3})", window, 3},
      {R"("TestRepetition": {"TestRepetition": "FirstTest"})",
       [](const Header& h) { return h.ordinal() == 1; }},
      {R"("TestRepetition": {"TestRepetition": "LastTest"})",
       [](const Header& h) { return h.thislast(); }},
      {R"("TestRepetition": {"TestRepetition": "CurrentRejects"})",
       [](const Header& h) { return h.thislast() && h.result() != "OK"; }},
      {R"("TestRepetition": {"TestRepetition": "DirectTest"})",
       [](const Header& h) { return h.ordinal() == 1 && h.thislast(); }},
      {R"("TestRepetition": {"TestRepetition": "NTests", "NrOfRepetitions": 2})",
       [](const Header& h) { return h.ordinal() <= 2; }},
      {R"("TestRepetition": {"MinOrdinal": 2, "MaxOrdinal": 3})",
       [](const Header& h) { return h.ordinal() >= 2 && h.ordinal() <= 3; }},
      {R"("TestRepetition": {"MaxRepetitions": 0})",
       [](const Header& h) { return h.ordinal() == 1; }},
      {R"("TestRepetition": {"MaxMinutes": 20})",
       [&](const Header& h) {
         return h.measurementtime().value() - firstTime[h.serial()] <= 1200;
       }},
      {R"("BaseType": {"Items": ["GX-300"]})",
       [](const Header& h) { return h.basetype() == "GX-300"; }},
      {R"("BaseType": {"Items": ["2"], "UseIds": true, "Exclude": true})",
       [](const Header& h) { return h.basetype() != "GX-300"; }},
      {R"("Type": {"Items": ["GX-200-6M", "GX-300-4M"]})",
       [](const Header& h) { return h.type() == "GX-200-6M" || h.type() == "GX-300-4M"; }},
      {R"("Type": {"Items": ["1"], "UseIds": true})",
       [](const Header& h) { return h.type() == "GX-200-4M"; }},
      {R"("Bench": {"Items": ["Bench-2"]})",
       [](const Header& h) { return h.bench() == "Bench-2"; }},
      {R"("Bench": {"Items": ["Bench-2"], "Exclude": true})",
       [](const Header& h) { return h.bench() != "Bench-2"; }},
      {R"("Bench": {"Items": ["3", "x"], "UseIds": true})",
       [](const Header& h) { return h.bench() == "Bench-3"; }},
      {R"("Bench": {"Items": ["Bench-9"]})", [](const Header&) { return false; }},
      {R"("SerialNumber": {"Items": [")" + failed.serial() + R"("]})",
       [&](const Header& h) { return h.serial() == failed.serial(); }},
      {R"("SerialNumber": {"Items": ["3150", "3151"], "ParseNumber": true, "ParseStart": 5, "ParseLength": 7})",
       [](const Header& h) {
         return h.serial() == "SN-A-0003150" || h.serial() == "SN-A-0003151";
       }},
      {R"("SerialNumber": {"Items": ["SN-A-0003150"], "Exclude": true})",
       [](const Header& h) { return h.serial() != "SN-A-0003150"; }},
      {R"("TestKind": {"Items": ["Retest"]})",
       [](const Header& h) { return h.testkind() == "Retest"; }},
      {R"("TestKind": {"Items": ["3"], "UseIds": true})",
       [](const Header& h) { return h.testkind() == "Reference test"; }},
      {R"("ShiftOffset": {"Items": ["Night"]})",
       [](const Header& h) { return LocalMinute(h) >= 1320 || LocalMinute(h) < 360; }},
      {R"("ShiftOffset": {"Items": ["Early"], "Exclude": true})",
       [](const Header& h) { return LocalMinute(h) < 360 || LocalMinute(h) >= 840; }},
      {R"("ReferenceUnit": {"SelectionType": "BySerial"})",
       [](const Header& h) { return h.serial() == "REF-A-01"; }},
      {R"("ReferenceUnit": {"Exclude": true})",
       [](const Header& h) { return h.serial() != "REF-A-01"; }},
      {R"("AddInfo": {"Keys": ["Operator"], "Items": ["K. Yilmaz"]})",
       [](const Header& h) { return h.additionalinfo().at("Operator") == "K. Yilmaz"; }},
      {R"("AddInfo": {"Items": ["K. Yilmaz", "M. Weber"], "Exclude": true})",
       [](const Header& h) {
         const std::string& who = h.additionalinfo().at("Operator");
         return who != "K. Yilmaz" && who != "M. Weber";
       }},
      {R"("IdRange": {"Ranges": [{"Min": 1100, "Max": 1200}, {"Min": 1150, "Max": 1160, "Exclude": true}]})",
       [](const Header& h) {
         return h.pkident() >= 1100 && h.pkident() <= 1200 &&
                (h.pkident() < 1150 || h.pkident() > 1160);
       }},
      {R"("Bench": {"Items": ["Bench-1"]}, "TestRepetition": {"TestRepetition": "FirstTest"}, "LastN": {"TopN": 4})",
       [](const Header& h) { return h.bench() == "Bench-1" && h.ordinal() == 1; }, 4},
  };
  for (const Row& row : rows) {
    std::vector<int> expected;
    for (const Header& test : t) {
      if (row.selects(test)) expected.push_back(test.pkident());
    }
    if (row.last > 0 && static_cast<int>(expected.size()) > row.last) {
      expected = row.first ? std::vector<int>(expected.begin(), expected.begin() + row.last)
                           : std::vector<int>(expected.end() - row.last, expected.end());
    }
    EXPECT_EQ(Query(row.filters), expected) << row.filters;
  }
}

TEST_F(PlantQueries, ATestIsTheSameInEveryAnswerAndUnknownLinesAreRefusedByName) {
  const Header& failed = *std::find_if(all.values().begin(), all.values().end(),
                                       [](const Header& h) { return h.resultid() != 1; });
  const std::string ids = R"("Identifier": [)" + std::to_string(failed.pkident()) +
                          ", 99999, 1001, " + std::to_string(failed.pkident()) + "]";
  const auto byId = Get<dc::GeneralInformationContainer>("GeneralInformationByIdQuery", ids);
  EXPECT_EQ(IdsOf(byId), (std::vector<int>{failed.pkident(), 1001}));
  const auto measurements = Get<dc::MeasurementContainer>("MeasurementByIdQuery", ids);
  const auto defects = Get<dc::DefectReportContainer>(
      "DefectReportQuery", R"("IdRange": {"Ranges": [{"Min": )" + std::to_string(failed.pkident()) +
                               R"(, "Max": )" + std::to_string(failed.pkident()) + "}]}");
  ASSERT_EQ(measurements.measurements().count(failed.pkident()), 1U);
  const dc::Measurement& measurement = measurements.measurements().at(failed.pkident());
  using google::protobuf::util::MessageDifferencer;
  EXPECT_TRUE(MessageDifferencer::Equals(measurement.generalinformation(), failed));
  EXPECT_TRUE(MessageDifferencer::Equals(byId.values(0), failed));
  ASSERT_GE(measurement.defectreport().defects_size(), 1);
  EXPECT_TRUE(MessageDifferencer::Equals(defects.values().at(failed.pkident()),
                                         measurement.defectreport()));
  EXPECT_EQ(measurements.measurements().size(), 2U) << "the unknown identifier is left out";
  const auto& kinds = measurement.measurementvalues().values();
  EXPECT_TRUE(kinds.at(1).has_scalar() && kinds.at(2).has_scalartrack() &&
              kinds.at(3).has_vector() && kinds.at(4).has_vectortrack() &&
              kinds.at(5).has_matrix());
  // Written test by test, the answers are the bytes of their messages built whole.
  EXPECT_EQ(Send("GeneralInformationQuery").body, SerializeDeterministically(all));
  const std::string recent = R"("LastN": {"TopN": 40})";
  EXPECT_EQ(Send("MeasurementQuery", recent).body,
            SerializeDeterministically(Get<dc::MeasurementContainer>("MeasurementQuery", recent)));

  std::map<std::string, int> rejectsByBench;
  int rejects = 0;
  const std::map<int, std::string> testKinds = {
      {1, "End-of-line test"}, {2, "Retest"}, {3, "Reference test"}};
  for (const Header& test : all.values()) {
    if (test.resultid() != 1) ++rejects, ++rejectsByBench[test.bench()];
    EXPECT_EQ(test.testkind(), testKinds.at(test.testkindid())) << "name and identifier of one row";
  }
  int bad = 0;
  const auto counts = Get<dc::ResultCountContainer>("ResultCountQuery");
  for (const auto& row : counts.values()) bad += row.badunits();
  EXPECT_EQ(bad, rejects);
  const auto lines = AskFor<dc::LineResultCountContainer>(
      *plant, "FactoryResultCountQuery",
      R"({"Factory": "Plant-North", "Lines": ["Line-A", "Line-B"]})");
  int badOfLineA = 0;
  for (const auto& row : lines.values()) badOfLineA += row.line() == "Line-A" ? row.badunits() : 0;
  EXPECT_EQ(badOfLineA, rejects);
  EXPECT_GT(lines.values(0).benchid(), 0);
  std::map<std::string, int> counted;
  const auto top = Get<dc::TopNRejectsContainer>("TopNRejectsQuery", R"("GroupBy": "TestBench")");
  for (const auto& row : top.values()) {
    counted[row.category()] = row.count();
  }
  EXPECT_EQ(counted, rejectsByBench);
  const auto history = Get<dc::TestHistoryGeneralContainer>("TestHistoryGeneralQuery");
  int historyUnits = 0, historyBad = 0;
  for (const auto& day : history.values())
    historyUnits += day.allunits(), historyBad += day.badunits();
  EXPECT_EQ(historyUnits, all.values_size());
  EXPECT_EQ(historyBad, rejects);
  EXPECT_EQ(history.values(0).year(), 2026);
  EXPECT_EQ(history.values_size(), 8) << "seven days up to a moment in the day";
  const auto references = Get<dc::ProtocolCrossReferenceStore>("ProtocolCrossReferenceQuery");
  ASSERT_EQ(references.entries_size(), 5);
  EXPECT_EQ(references.entries(2).fkinstrument(), 2)
      << "FFT, second of Campbell, FFT, Level, Tracker";
  const auto topOne = Get<dc::TopNRejectsContainer>("TopNRejectsQuery",
                                                    R"("GroupBy": "TestBench", "TopNCount": 1)");
  ASSERT_EQ(topOne.values_size(), 1);
  EXPECT_EQ(topOne.values(0).count(),
            std::max_element(rejectsByBench.begin(), rejectsByBench.end(),
                             [](const auto& a, const auto& b) { return a.second < b.second; })
                ->second);
  const auto level =
      Get<dc::TopNRejectsContainer>("TopNRejectsQuery", R"("ErrorCode": {"Items": [1003]})");
  ASSERT_EQ(level.values_size(), 1);
  EXPECT_EQ(level.values(0).category(), "1003");

  const auto track = Get<dc::VectorTrackOfMeasurementsContainer>(
      "VectorTrackOfMeasurementsByIdQuery", ids + R"(, "Clavis": {"Mode": "Idle"})");
  ASSERT_EQ(track.vectortrack().values_size(), 2);
  EXPECT_EQ(track.vectortrack().values(0).z(), failed.pkident());
  EXPECT_TRUE(MessageDifferencer::Equals(
      track.measurementinfos().at(failed.pkident()).defectreport(), measurement.defectreport()));

  const auto only = Get<dc::MeasurementContainer>(
      "MeasurementByIdQuery", R"("Identifier": [1001], "Clavis": {"Items": [{"Mode": "Idle"}]})");
  ASSERT_EQ(only.measurements().at(1001).measurementvalues().values_size(), 1);
  EXPECT_EQ(
      only.measurements().at(1001).measurementvalues().keys().begin()->second.instrumentparameter(),
      "Spectrum");

  const auto topology = AskFor<dc::SimpleTopologyContainer>(*plant, "SimpleTopologyQuery", "{}");
  ASSERT_EQ(topology.values_size(), 3);
  const dc::Line& chicago = topology.values(1).lines(0);
  EXPECT_EQ(chicago.timezoneid().windowstimezoneid(), "Central Standard Time");
  EXPECT_EQ(chicago.timezoneid().utcoffsetinminutes(), -360);
  EXPECT_EQ(chicago.benchtimezoneid().ianatimezoneid(), "Etc/UTC");
  const auto names = Get<dc::IdNameTableStore>("ResultDbIdNameTablesQuery");
  std::set<std::string> locations;
  for (const auto& table : names.tables()) {
    for (const auto& item : table.items()) {
      if (table.name() == "Location") locations.insert(item.name());
    }
  }
  EXPECT_EQ(locations, (std::set<std::string>{"Gearbox", "Housing"}));

  const CannedAnswer line =
      Ask(*plant, "GeneralInformationQuery", R"({"Factory": "Plant-North", "Line": "Line-Z"})");
  EXPECT_EQ(line.status, 400);
  EXPECT_THAT(line.body, ::testing::HasSubstr("\"Line-Z\""));
  const CannedAnswer factory =
      Ask(*plant, "MeasurementQuery", R"({"Factory": "Plant-West", "Line": "Line-A"})");
  EXPECT_EQ(factory.status, 400);
  EXPECT_THAT(factory.body, ::testing::HasSubstr("\"Plant-West\""));
}

TEST_F(PlantQueries, CommandsChangeWhatTheNextQuerySeesAndAFailedOneChangesNothing) {
  const auto logged = [&] {
    return AskFor<dc::LogEntryContainer>(*plant, "LogEntryQuery",
                                         R"({"FromTime": {"value": )" + std::to_string(kNow + 1) +
                                             R"(, "scale": "SECONDS"}})")
        .logentries_size();
  };
  const int before = logged();
  EXPECT_EQ(before, 0) << "the generator's entry is older";
  const std::string weekend =
      R"("Shift": {"Name": "Weekend", "Items": [{"Start": 360, "End": 840, "Weekdays": ["Saturday"]}]})";
  EXPECT_EQ(Status("AddShiftCommand", weekend), 200);
  EXPECT_EQ(Status("AddShiftCommand", weekend), 409) << "a second shift of the same name";
  const auto shifts = Get<dc::ShiftContainer>("GetShiftQuery", R"("Names": ["Weekend"])");
  ASSERT_EQ(shifts.values_size(), 1);
  EXPECT_EQ(shifts.values(0).items(0).weekdays(0), Korvan::KQ::DataContracts::Enumerator::Saturday);
  EXPECT_EQ(Get<dc::ShiftContainer>("GetShiftQuery", R"("Names": ["Early"])").values_size(), 1);
  EXPECT_EQ(Status("UpdateShiftCommand",
                   R"("Shift": {"Name": "Early", "Items": [{"Start": -5, "End": 60}]})"),
            400);
  EXPECT_EQ(
      Get<dc::ShiftContainer>("GetShiftQuery", R"("Names": ["Early"])").values(0).items(0).end(),
      840)
      << "the refused update left the shift whole";
  EXPECT_EQ(Status("UpdateShiftCommand",
                   R"("Shift": {"Name": "Weekend", "Items": [{"Start": 1380, "End": 1440}]})"),
            200)
      << "a shift may end at midnight";
  EXPECT_EQ(logged(), before + 2) << "only the commands that succeeded are logged";

  const std::string groups = R"("Names": ["Noise"])";
  const auto noise = Get<dc::ErrorGroupsContainer>("GetErrorGroupQuery", groups);
  ASSERT_EQ(noise.values_size(), 1);
  EXPECT_EQ(noise.values(0).items_size(), 3);
  EXPECT_EQ(
      Status("UpdateErrorGroupCommand",
             R"("ErrorGroup": {"Name": "Noise", "Items": [{"StartId": 1001, "EndId": 1005}]})"),
      200);
  const auto updated = Get<dc::ErrorGroupsContainer>("GetErrorGroupQuery", groups);
  ASSERT_EQ(updated.values_size(), 1);
  ASSERT_EQ(updated.values(0).items_size(), 1);
  EXPECT_EQ(updated.values(0).items(0).endid(), 1005);
  EXPECT_EQ(Status("DeleteErrorGroupCommand", R"("Name": "Noise")"), 200);
  EXPECT_EQ(Get<dc::ErrorGroupsContainer>("GetErrorGroupQuery", groups).values_size(), 0);
  EXPECT_EQ(Get<dc::ErrorGroupsContainer>("GetErrorGroupQuery").values(0).name(), "Vibration");
  EXPECT_EQ(Status("AddReferenceUnitCommand", R"("ReferenceUnit": {"Name": "SN-A-0003150"})"), 200);
  const auto references = Query(
      R"("ReferenceUnit": {"SelectionType": "BySerial"}, "SerialNumber": {"Items": ["SN-A-0003150"]})");
  EXPECT_FALSE(references.empty());
  EXPECT_EQ(Get<dc::ReferenceUnitContainer>("GetReferenceUnitQuery", R"("Names": ["SN-A-0003150"])")
                .values_size(),
            1);
  EXPECT_EQ(Status("ResultDbTruncateCommand"), 200);
  EXPECT_TRUE(Query(R"("LastN": {"TopN": 5})").empty());
  EXPECT_EQ(logged(), before + 6);
}

/// The strongest line of `samples` by a DFT of its first `window` samples.
int DominantLine(const std::string& samples, int window) {
  std::vector<double> x(static_cast<std::size_t>(window));
  for (int i = 0; i < window; ++i) {
    x[static_cast<std::size_t>(i)] =
        static_cast<std::int16_t>(static_cast<std::uint8_t>(samples[2 * i]) |
                                  static_cast<std::uint8_t>(samples[2 * i + 1]) << 8);
  }
  int best = 0;
  double strongest = -1;
  for (int k = 1; k < window / 2; ++k) {  // Goertzel, bin by bin
    const double c = 2 * std::cos(2 * std::acos(-1.0) * k / window);
    double s1 = 0, s2 = 0;
    for (double v : x) {
      const double s0 = v + c * s1 - s2;
      s2 = s1;
      s1 = s0;
    }
    const double power = s1 * s1 + s2 * s2 - c * s1 * s2;
    if (power > strongest) strongest = power, best = k;
  }
  return best;
}

TEST_F(PlantQueries, ATestsSoundIsAWavFileWhoseStrongestLineIsItsSpectrums) {
  const CannedAnswer wav = Send("WavFileQuery", R"("Identifier": 1010)");
  ASSERT_EQ(wav.status, 200) << wav.body;
  ASSERT_GT(wav.body.size(), 44U + 2 * 12800);
  EXPECT_EQ(wav.body.substr(0, 4), "RIFF");
  EXPECT_EQ(wav.body.substr(8, 8), "WAVEfmt ");
  EXPECT_EQ(wav.body.substr(36, 4), "data");
  const auto spectrum = Get<dc::MeasurementContainer>(
      "MeasurementByIdQuery", R"("Identifier": [1010], "Clavis": {"Items": [{"Mode": "Idle"}]})");
  const auto& lines = spectrum.measurements()
                          .at(1010)
                          .measurementvalues()
                          .values()
                          .begin()
                          ->second.vector()
                          .values();
  const auto loudest = std::max_element(lines.begin() + 1, lines.end(),
                                        [](const auto& a, const auto& b) { return a.y() < b.y(); });
  // 12 800 samples at 16 kHz: bin k is k * 1.25 Hz, the spectrum's line k.
  EXPECT_EQ(DominantLine(wav.body.substr(44), 12800), loudest - lines.begin());
  EXPECT_EQ(Status("WavFileQuery", R"("Identifier": 99999)"), 404);
  const auto where = Get<dc::WavFileInfo>("WavFileInfoQuery", R"("Identifier": 1010)");
  EXPECT_EQ(where.wavfilepath(), "1010.wav");
  const auto byName = [&](const std::string& bench, const std::string& name) {
    return Send("WavFileTestBenchQuery",
                R"("TestBench": ")" + bench + R"(", "FileName": ")" + name + "\"");
  };
  EXPECT_EQ(byName(where.testbench(), "1010.wav").body, wav.body);
  EXPECT_EQ(byName(where.testbench(), "x.wav").status, 404);
  EXPECT_EQ(byName("Bench-9", "1010.wav").status, 404);
}

TEST_F(PlantQueries, RejectStatisticsLookAtTheDefectsEveryErrorFilterSelects) {
  // One good test gets a warning: only the requests that count warnings see it.
  const Header& good = all.values(7);
  ASSERT_EQ(good.resultid(), 1);
  {
    plant::SqliteDatabase db(plant->File(), plant::SqliteDatabase::Mode::ReadWrite);
    db.Execute("INSERT INTO defect VALUES (" + std::to_string(good.pkident()) +
               ", 1, 2, 1004, 'Order 2 vibration high', 1, 1.5, 1.4, 2500)");
  }
  const auto reports = Get<dc::DefectReportContainer>("DefectReportQuery");
  struct Found {
    const Header* test;
    const dc::Defect* defect;
  };
  std::vector<Found> defects;  // every defect, oldest test first
  for (const Header& test : all.values()) {
    for (const dc::Defect& d : reports.values().at(test.pkident()).defects())
      defects.push_back({&test, &d});
  }
  const auto noise = [](const dc::Defect& d) {
    return d.errorcode() == 1001 || d.errorcode() == 1003 || d.errorcode() == 1005;
  };
  struct Row {
    std::string filters;
    std::function<bool(const Found&)> selects;
  };
  const std::vector<Row> rows = {
      {R"("ErrorsOnly": false)", [](const Found&) { return true; }},
      {R"("ErrorsOnly": true)", [](const Found& f) { return f.defect->errorresult() == 2; }},
      {R"("ErrorCode": {"Items": [1004, 1003]})",
       [](const Found& f) {
         return f.defect->errorcode() >= 1003 && f.defect->errorcode() <= 1004;
       }},
      {R"("ErrorCode": {"Items": [1003], "FirstErrorOnly": true})",
       [](const Found& f) { return f.defect->errornr() == 1 && f.defect->errorcode() == 1003; }},
      {R"("ErrorGroup": {"Items": ["Noise"]})", [&](const Found& f) { return noise(*f.defect); }},
      {R"("ErrorGroup": {"Items": ["Noise"], "Exclude": true})",
       [&](const Found& f) { return !noise(*f.defect); }},
      {R"("ErrorPosition": {"Ranges": [{"Min": 0, "Max": 2000}, {"Min": 1000, "Max": 1200, "Exclude": true}]})",
       [](const Found& f) {
         const float p = f.defect->position();
         return p >= 0 && p <= 2000 && (p < 1000 || p > 1200);
       }},
      {R"("Bench": {"Items": ["Bench-2"]}, "ErrorsOnly": true)",
       [](const Found& f) { return f.test->bench() == "Bench-2" && f.defect->errorresult() == 2; }},
  };
  std::map<std::pair<std::string, int>, std::string> results;  // by serial and ordinal
  for (const Header& test : all.values()) results[{test.serial(), test.ordinal()}] = test.result();
  const auto retest = [&](const Header& test) {  // the result of the unit's next test
    const auto found = results.find({test.serial(), test.ordinal() + 1});
    return found == results.end() ? std::string() : found->second;
  };
  // A reject message tells its test's defect as the defect report does.
  const auto describe = [](int id, int nr, bool thisLast, const std::vector<std::string>& key,
                           float position, float value, float limit) {
    std::string text = std::to_string(id) + "/" + std::to_string(nr) + (thisLast ? " last" : "");
    for (const std::string& part : key) text += "/" + part;
    return text + "/" + std::to_string(position) + "/" + std::to_string(value) + "/" +
           std::to_string(limit);
  };
  for (const Row& row : rows) {
    std::vector<std::string> expected;
    for (const Found& f : defects) {
      const dc::Clavis& c = f.defect->clavis();
      if (row.selects(f)) {
        expected.push_back(describe(f.test->pkident(), f.defect->errornr(), f.test->thislast(),
                                    {c.mode(), c.location(), c.instrument(),
                                     c.instrumentparameter(), c.channel(), retest(*f.test)},
                                    f.defect->position(), f.defect->value(), f.defect->limit()));
      }
    }
    std::vector<std::string> answered;
    const auto messages = Get<dc::RejectMessagesContainer>("RejectMessagesQuery", row.filters);
    for (const auto& m : messages.values()) {
      answered.push_back(describe(
          m.generalinformation().pkident(), m.errorsequencenumber(), m.thislastresult() == 1,
          {m.mode(), m.location(), m.instrument(), m.ipparam(), m.channel(), m.repeatresult()},
          m.position(), m.value(), m.limit()));
    }
    EXPECT_EQ(answered, expected) << row.filters;
  }
  const auto byCode = Get<dc::RejectMessagesContainer>(
      "RejectMessagesQuery",
      R"("OrderBy": {"Items": [{"Key": "OrderByErrorCode", "Direction": "OrderDescending"}]}, "IncludeProductionDate": true)");
  ASSERT_GT(byCode.values_size(), 2);
  EXPECT_EQ(byCode.values(0).errorcode(), 1005);
  EXPECT_EQ(byCode.values(byCode.values_size() - 1).errorcode(), 1001);
  EXPECT_EQ(byCode.values(0).productiondate().substr(0, 4), "2026");

  // TopNRejects by error code: the rejected tests (and, with warnings, the warned one).
  for (const bool warnings : {false, true}) {
    std::map<std::string, int> expected;
    for (const Found& f : defects) {
      const bool counted = warnings || f.defect->errorresult() == 2;
      if (counted && !noise(*f.defect)) ++expected[std::to_string(f.defect->errorcode())];
    }
    std::map<std::string, int> counted;
    const auto top = Get<dc::TopNRejectsContainer>(
        "TopNRejectsQuery", std::string(R"("IncludeWarnings": )") + (warnings ? "true" : "false") +
                                R"(, "ErrorGroup": {"Items": ["Noise"], "Exclude": true})");
    for (const auto& row : top.values()) {
      counted[row.category()] = row.count();
    }
    EXPECT_EQ(counted, expected) << "warnings " << warnings;
  }

  // The histories count the same errors, day by day; every day counts all its tests.
  std::map<int, int> perCode, perGroup;  // rejected tests with an error of the code, of the group
  for (const Header& test : all.values()) {
    std::set<int> codes, groups;
    for (const dc::Defect& d : reports.values().at(test.pkident()).defects()) {
      if (d.errorresult() == 2) codes.insert(d.errorcode()), groups.insert(noise(d) ? 1 : 2);
    }
    for (int code : codes) ++perCode[code];
    for (int group : groups) ++perGroup[group];
  }
  std::map<int, int> codeUnits, groupUnits;
  const auto codes = Get<dc::TestHistoryTopNContainer>("TestHistoryTopNQuery");
  for (const auto& row : codes.values()) codeUnits[row.groupid()] += row.units();
  const auto groups = Get<dc::TestHistoryErrorGroupsContainer>("TestHistoryErrorGroupsQuery");
  std::map<int, int> dayUnits;  // AllUnits of each day
  for (const auto& row : groups.values()) {
    groupUnits[row.groupid()] += row.units();
    dayUnits[row.day()] = row.allunits();
  }
  EXPECT_EQ(codeUnits, perCode);
  EXPECT_EQ(groupUnits, perGroup);
  EXPECT_EQ(groups.values(0).groupname(), groups.values(0).groupid() == 1 ? "Noise" : "Vibration");
  const auto top = Get<dc::TestHistoryTopNContainer>("TestHistoryTopNQuery", R"("TopNCount": 1)");
  std::set<int> days;
  for (const auto& row : top.values())
    EXPECT_TRUE(days.insert(row.day()).second) << "one code a day";
  std::map<int, int> generalDays;
  const auto general = Get<dc::TestHistoryGeneralContainer>("TestHistoryGeneralQuery");
  for (const auto& day : general.values()) generalDays[day.day()] = day.allunits();
  for (const auto& [day, units] : dayUnits) EXPECT_EQ(units, generalDays[day]) << day;
}

TEST_F(PlantQueries, ValueIndexesArchiveFilesExportsAndTheNewestTestOfEachBenchName) {
  const Header& test = all.values(20);
  const auto indexes = Get<dc::MeasurementValueIndexContainer>(
      "MeasurementValueIndexByIdQuery", R"("Identifier": [)" + std::to_string(test.pkident()) +
                                            R"(, 99999], "Clavis": {"Items": [{"Mode": "Idle"}]})");
  ASSERT_EQ(indexes.measurementvalueindicies().size(), 1U);
  const auto& idle = indexes.measurementvalueindicies().at(test.pkident()).values();
  ASSERT_EQ(idle.size(), 1);
  EXPECT_EQ(idle[0].datatype(), dc::Enumerator::Vector);
  EXPECT_EQ(idle[0].fileoffset(), test.fileoffset() + 2 * 4096);
  const auto selected = Get<dc::MeasurementValueIndexContainer>("MeasurementValueIndexQuery",
                                                                R"("LastN": {"TopN": 2})");
  EXPECT_EQ(selected.measurementvalueindicies().size(), 2U);
  EXPECT_EQ(selected.measurementvalueindicies().begin()->second.values_size(), 5);

  std::vector<int> sameFile;
  for (const Header& h : all.values()) {
    if (h.relativefilepath() == test.relativefilepath()) sameFile.push_back(h.pkident());
  }
  const auto file = Get<dc::MeasurementInformationContainer>(
      "MeasurementInformationFromFileQuery", R"("AbsolutePath": "/archive/)" +
                                                 test.relativefilepath() +
                                                 R"(", "IncludeMeasurementValueIndices": true)");
  std::vector<int> inFile;
  for (const auto& [id, information] : file.measurements()) {
    inFile.push_back(id);
    EXPECT_EQ(information.measurementvalueindices_size(), 5);
  }
  std::sort(inFile.begin(), inFile.end());
  EXPECT_EQ(inFile, sameFile);
  EXPECT_EQ(Status("MeasurementInformationFromFileQuery",
                   R"("AbsolutePath": "/archive/2026/01/01/x.kqa")"),
            404);

  const CannedAnswer csv = Send("CsvExportFileQuery", R"("LastN": {"TopN": 2})");
  const std::string newest = std::to_string(all.values(all.values_size() - 1).pkident());
  EXPECT_EQ(std::count(csv.body.begin(), csv.body.end(), '\n'), 3);
  EXPECT_EQ(csv.body.substr(csv.body.rfind("\r\n", csv.body.size() - 3) + 2, newest.size() + 1),
            newest + ",");

  std::map<std::string, std::string> newestOfBench;
  for (const Header& h : all.values())
    newestOfBench[h.bench()] = std::to_string(h.pkident()) + " " + h.serial();
  std::map<std::string, std::string> answered;
  const auto last = Get<dc::MainDataInfoContainer>("LastTestByBenchQuery");
  for (const auto& info : last.values()) {
    answered[info.bench()] = std::to_string(info.pkident()) + " " + info.serial();
  }
  EXPECT_EQ(answered, newestOfBench);
}

TEST_F(PlantQueries, ArchivesHoldEachTestAsItsMeasurementAndTheLastAveragesBeforeIt) {
  const Header& test = all.values(300);
  const std::int64_t time = test.measurementtime().value();
  struct Row {
    const char* name;
    int number, firstHour, hours, count, days;
  };
  // Line-A (line 1) keeps UTC+1 all week: the periods with a passing test, counted plainly.
  const auto expected = [&](const Row& row) {
    const std::int64_t length = row.hours * 3600, shift = 3600 - row.firstHour * 3600;
    std::set<std::int64_t> periods;
    for (const Header& h : all.values()) {
      const std::int64_t period = (h.measurementtime().value() + shift) / length;
      const std::int64_t end = (period + 1) * length - shift;
      if (h.resultid() == 1 && end <= time && end > time - row.days * 86400) periods.insert(period);
    }
    std::vector<int> ids;
    for (std::int64_t period : periods)
      ids.push_back(static_cast<int>(1'001'000'000 + row.number * 100'000 + period));
    const int keep = std::max(0, std::min(row.count, static_cast<int>(ids.size())));
    return std::vector<int>(ids.end() - keep, ids.end());
  };
  const std::vector<Row> rows = {{"Day", 1, 0, 24, 3, 3},  {"Day", 1, 0, 24, 9, 30},
                                 {"Shift", 0, 6, 8, 4, 1}, {"Shift", 0, 6, 8, 100, 2},
                                 {"Day", 1, 0, 24, 0, 3},  {"Shift", 0, 6, 8, -1, 3},
                                 {"Shift", 0, 6, 8, 2, 0}};
  const auto ask = [&](const std::string& archives, int id = 0) {
    return Send("IdsOfLastAveragesQuery", R"("PkIdent": )" +
                                              std::to_string(id == 0 ? test.pkident() : id) +
                                              R"(, "AverageArchives": [)" + archives + "]");
  };
  const auto archive = [](const Row& row) {
    return R"({"Name": ")" + std::string(row.name) + R"(", "NrAveragesToLoad": )" +
           std::to_string(row.count) + R"(, "DaysToInclude": )" + std::to_string(row.days) + "}";
  };
  for (const Row& row : rows) {
    dc::LastAveragesContainer ids;
    ASSERT_TRUE(ids.ParseFromString(ask(archive(row)).body));
    EXPECT_EQ(std::vector<int>(ids.values().begin(), ids.values().end()), expected(row))
        << archive(row);
  }
  EXPECT_EQ(ask(R"({"Name": "Week", "NrAveragesToLoad": 1, "DaysToInclude": 9})").status, 404);
  EXPECT_EQ(ask(archive(rows[0]), 99999).status, 404);

  // Archive data: each test the plant's measurement of it alone, in the order asked.
  const auto record = [&](int id) {
    return Send("MeasurementByIdQuery", R"("Identifier": [)" + std::to_string(id) + "]").body;
  };
  const int a = all.values(20).pkident(), b = all.values(21).pkident();
  const std::string ab = std::to_string(a) + ", " + std::to_string(b);
  const CannedAnswer byId =
      Send("ArchiveFileByIdQuery", R"("Ids": [)" + std::to_string(b) + ", 99999, " + ab +
                                       ", 1001118000]");  // and a day of 2019 without tests
  EXPECT_EQ(byId.contentType, "application/octet-stream");
  EXPECT_EQ(byId.body, record(b) + record(a));
  EXPECT_EQ(Send("ArchiveFileQuery", R"("IdRange": {"Ranges": [{"Min": )" + std::to_string(a) +
                                         R"(, "Max": )" + std::to_string(b) + "}]}")
                .body,
            record(a) + record(b));

  // An average's data: the mean of its period's passing tests, by name or by identifier.
  const int day = expected(rows[0]).back();
  const CannedAnswer withAverage = Send(
      "ArchiveFileByIdQuery",
      R"("Ids": [)" + std::to_string(test.pkident()) +
          R"(], "AverageArchives": [{"Name": "Day", "NrAveragesToLoad": 1, "DaysToInclude": 3}])");
  dc::MeasurementContainer both;
  ASSERT_TRUE(both.ParseFromString(withAverage.body));
  ASSERT_EQ(both.measurements().count(day), 1U);
  EXPECT_EQ(withAverage.body.substr(record(test.pkident()).size()),
            Send("ArchiveFileByIdQuery", R"("Ids": [)" + std::to_string(day) + "]").body);
  const std::int64_t dayStart = (day - 1'001'100'000) * std::int64_t{86400} - 3600;
  double sum = 0, line50 = 0;  // of the noise levels, of the idle spectra's line 50
  int passing = 0;
  const auto ofDay = Get<dc::MeasurementContainer>(
      "MeasurementQuery",
      R"("Time": {"From": {"value": )" + std::to_string(dayStart) +
          R"(, "scale": "SECONDS"}, "Until": {"value": )" + std::to_string(dayStart + 86399) +
          R"(, "scale": "SECONDS"}}, "Clavis": {"Items": [{"Instrument": "Level"}, {"Mode": "Idle"}]})");
  for (const auto& [id, m] : ofDay.measurements()) {
    if (m.generalinformation().resultid() != 1) continue;
    sum += m.measurementvalues().values().at(1).scalar().value(), ++passing;
    line50 += m.measurementvalues().values().at(3).vector().values(50).y();
  }
  const dc::Measurement& average = both.measurements().at(day);
  const std::time_t localMidnight = (dayStart + 3600);
  char date[16];
  std::strftime(date, sizeof date, "%Y-%m-%d", std::gmtime(&localMidnight));
  EXPECT_EQ(average.generalinformation().additionalinfo().at("Period"), date);
  EXPECT_EQ(average.generalinformation().pkident(), day);
  EXPECT_EQ(average.generalinformation().measurementtime().value(), dayStart);
  EXPECT_EQ(average.generalinformation().additionalinfo().at("Tests"), std::to_string(passing));
  dc::Scalar level = average.measurementvalues().values().at(1).scalar();
  EXPECT_NEAR(level.value(), sum / passing, 1e-3);
  EXPECT_NEAR(average.measurementvalues().values().at(3).vector().values(50).y(), line50 / passing,
              1e-3);
  const dc::Scalar& ofTest =
      ofDay.measurements().begin()->second.measurementvalues().values().at(1).scalar();
  level.set_value(ofTest.value());
  EXPECT_TRUE(google::protobuf::util::MessageDifferencer::ApproximatelyEquals(level, ofTest))
      << "unit, position and limits as a test's";

  // Measurements through their archive file: only the named tests it holds.
  const Header& other = *std::find_if(
      all.values().begin(), all.values().end(),
      [&](const Header& h) { return h.relativefilepath() != all.values(20).relativefilepath(); });
  const auto fromFile = [&](const std::string& path) {
    return Send("MeasurementFromFileByIdQuery",
                R"("AbsolutePath": "/archive/)" + path + R"(", "Identifier": [)" +
                    std::to_string(other.pkident()) + ", " + ab +
                    R"(], "Clavis": {"Items": [{"Mode": "Idle"}]})");
  };
  dc::MeasurementContainer inFile;
  ASSERT_TRUE(inFile.ParseFromString(fromFile(all.values(20).relativefilepath()).body));
  EXPECT_EQ(inFile.measurements().count(other.pkident()), 0U);
  ASSERT_EQ(inFile.measurements().count(a), 1U);
  EXPECT_EQ(inFile.measurements().at(a).measurementvalues().values_size(), 1);
  EXPECT_EQ(fromFile("2026/01/01/x.kqa").status, 404);
}

TEST(PlantTimeZones, ALinesOffsetFollowsItsRegionsDaylightSavingRule) {
  struct Row {
    const char* zone;
    int standard;
    std::int64_t time;
    int offset;
  };
  const std::vector<Row> rows = {
      {"Europe/Berlin", 60, 1774746000 - 1, 60},       {"Europe/Berlin", 60, 1774746000, 120},
      {"Europe/Berlin", 60, 1792890000 - 1, 120},      {"Europe/Berlin", 60, 1792890000, 60},
      {"America/Chicago", -360, 1772956800 - 1, -360}, {"America/Chicago", -360, 1772956800, -300},
      {"America/Chicago", -360, 1793516400 - 1, -300}, {"America/Chicago", -360, 1793516400, -360},
      {"Asia/Shanghai", 480, 1780000000, 480},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(plant::UtcOffsetMinutesAt(row.zone, row.standard, true, row.time), row.offset)
        << row.zone << " " << row.time;
  }
  EXPECT_EQ(plant::UtcOffsetMinutesAt("Europe/Berlin", 60, false, 1780000000), 60);
}

TEST_F(PlantQueries, AdministrationCommandsChangeResultDatabasesAndTheTopologyModel) {
  const auto version = [&](const std::string& line) {
    const CannedAnswer answer = Ask(*plant, "ResultDbVersionQuery",
                                    R"({"Factory": "Plant-North", "Line": ")" + line + "\"}");
    dc::VersionDTO dto;
    dto.ParseFromString(answer.body);
    return answer.status == 200 ? std::to_string(dto.major()) + "." + std::to_string(dto.minor()) +
                                      "." + std::to_string(dto.patch())
                                : std::to_string(answer.status);
  };
  const auto command = [&](const std::string& type, const std::string& json) {
    return Ask(*plant, type, json).status;
  };
  EXPECT_EQ(version("Line-A"), "4.2.1");
  EXPECT_EQ(Status("ResultDbUpdateCommand", R"("DbVersion": {"Major": 4, "Minor": 3})"), 200);
  EXPECT_EQ(Status("ResultDbUpdateCommand", R"("DbVersion": {"Major": 4, "Minor": 1})"), 400);
  EXPECT_EQ(version("Line-A"), "4.3.0") << "a refused update left it";
  EXPECT_EQ(Status("ResultDbCreationCommand", R"("DatabaseName": "again")"), 409);
  EXPECT_EQ(command("AddLineCommand", R"({"Factory": "Plant-North", "Line": "Line-N"})"), 200);
  EXPECT_EQ(version("Line-N"), "404") << "a new line has no result database yet";
  const std::string lineN = R"({"Factory": "Plant-North", "Line": "Line-N")";
  EXPECT_EQ(command("ResultDbCreationCommand", lineN + R"(, "DatabaseName": ""})"), 400);
  EXPECT_EQ(command("ResultDbCreationCommand", lineN + R"(, "DatabaseName": "North_N"})"), 200);
  EXPECT_EQ(version("Line-N"), "4.2.1");

  const auto model = [&](const char* type) {
    return AskFor<dc::TopologyModel>(*plant, type, "{}");
  };
  const dc::TopologyModel drawn = model("TopologyModelQuery");
  ASSERT_EQ(drawn.factories_size(), 3);
  const dc::LineNode& newLine = *drawn.factories(0).lines().rbegin();
  EXPECT_EQ(newLine.basenode().name(), "Line-N");
  EXPECT_EQ(newLine.resultdb().databasename(), "North_N");
  EXPECT_EQ(drawn.factories(0).lines(0).timezoneinfo().ianatimezoneid(), "Europe/Berlin");
  EXPECT_TRUE(drawn.factories(0).lines(0).timezoneinfo().supportsdaylightsavingtime());

  EXPECT_EQ(
      command(
          "ConfigureTopologyModelCommand",
          R"({"Factory": "Plant-West", "Line": "Line-W", "ResultDatabaseName": "West_W", "ResultDatabasePassword": "pw", "ReplaceAllLines": true})"),
      200);
  const dc::TopologyModel configured = model("TopologyModelQuery");
  ASSERT_EQ(configured.factories_size(), 1);
  ASSERT_EQ(configured.factories(0).lines_size(), 1);
  EXPECT_EQ(configured.factories(0).lines(0).resultdb().databasename(), "West_W");
  EXPECT_EQ(model("DefaultTopologyModelQuery").factories_size(), 4) << "the plant keeps its lines";

  dc::TopologyModel changed = configured;
  changed.mutable_factories(0)->set_customerreportlogo("logo.png");
  const std::string changedJson = MessageToJson(changed).Value();
  EXPECT_EQ(command("UpdateTopologyModelCommand",
                    R"({"Factory": "Plant-North", "Line": "Line-Z", "TopologyModel": )" +
                        changedJson + "}"),
            400);
  EXPECT_EQ(model("TopologyModelQuery").factories(0).customerreportlogo(), "");
  EXPECT_EQ(command("UpdateTopologyModelCommand", R"({"TopologyModel": )" + changedJson + "}"),
            200);
  EXPECT_EQ(model("TopologyModelQuery").factories(0).customerreportlogo(), "logo.png");

  const auto propagated = AskFor<dc::PropagateTopologyModelContainer>(
      *plant, "PropagateTopologyModelCommand",
      R"({"TopologyModel": {"Factories": [{"BaseNode": {"Name": "Plant-North"}, "Lines": [)"
      R"({"BaseNode": {"Name": "Line-A"}, "Archive": {}, "ResultDb": {"Password": {"EncryptedString": "c2VjcmV0"}}},)"
      R"({"BaseNode": {"Name": "Line-Z"}}]}]}})");
  std::map<std::string, int> recipients;
  for (const auto& [key, status] : propagated.values()) recipients[key] = status.codecategory();
  EXPECT_EQ(recipients, (std::map<std::string, int>{{"Plant-North/Line-A/Archive", 0},
                                                    {"Plant-North/Line-A/ResultDb", 0},
                                                    {"Plant-North/Line-Z", 14}}));
  EXPECT_EQ(model("TopologyModelQuery").factories(0).lines(1).basenode().name(), "Line-Z");

  const auto log = AskFor<dc::LogEntryContainer>(
      *plant, "LogEntryQuery",
      R"({"FromTime": {"value": )" + std::to_string(kNow + 1) + R"(, "scale": "SECONDS"}})");
  ASSERT_EQ(log.logentries_size(), 6) << "one entry for each command that succeeded";
  for (const auto& entry : log.logentries()) {
    EXPECT_THAT(entry.message(), ::testing::Not(::testing::HasSubstr("pw")));
    EXPECT_THAT(entry.message(), ::testing::Not(::testing::HasSubstr("c2VjcmV0")));
  }
}

TEST(PlantGenerator, TheSameSeedGivesTheSameBytesAndARealisticPlant) {
  const vrex::testing::ScratchDirectory directory;
  GeneratePlantFile(directory.Path() / "a", 2000, 5, 3, kNow);
  GeneratePlantFile(directory.Path() / "b", 2000, 5, 3, kNow);
  GeneratePlantFile(directory.Path() / "c", 2000, 5, 4, kNow);
  EXPECT_EQ(Slurp(directory.Path() / "a"), Slurp(directory.Path() / "b"));
  EXPECT_NE(Slurp(directory.Path() / "a"), Slurp(directory.Path() / "c"));

  const Plant plant(directory.Path() / "a");
  const std::string line = R"("Factory": "Plant-North", "Line": "Line-A")";
  const auto headers =
      AskFor<dc::GeneralInformationContainer>(plant, "GeneralInformationQuery", "{" + line + "}");
  std::set<std::string> units, failedUnits;
  std::map<std::string, int> ordinals;
  std::string valuesOf;  // the failing tests and the last 30: their values are checked
  for (const Header& header : headers.values()) {
    EXPECT_EQ(header.ordinal(), ++ordinals[header.serial()]) << "retests in order";
    units.insert(header.serial());
    if (header.resultid() != 1) {
      if (header.ordinal() == 1) failedUnits.insert(header.serial());
      valuesOf += std::to_string(header.pkident()) + ", ";
    }
  }
  for (const Header& header : headers.values()) {
    EXPECT_EQ(header.thislast(), header.ordinal() == ordinals[header.serial()]);
  }
  const double rate = static_cast<double>(failedUnits.size()) / static_cast<double>(units.size());
  EXPECT_GE(rate, 0.03);
  EXPECT_LE(rate, 0.08);

  for (int i = headers.values_size() - 30; i < headers.values_size(); ++i) {
    valuesOf += std::to_string(headers.values(i).pkident()) + ", ";
  }
  const auto answer = AskFor<dc::MeasurementContainer>(
      plant, "MeasurementByIdQuery", "{" + line + R"(, "Identifier": [)" + valuesOf + "0]}");
  EXPECT_GT(answer.measurements_size(), 40);
  for (const auto& [id, test] : answer.measurements()) {
    const Header& header = test.generalinformation();
    bool exceeds = false;
    for (const auto& [key, value] : test.measurementvalues().values()) {
      exceeds = exceeds || plant::ExceedsLimit(value);
    }
    EXPECT_EQ(exceeds, header.resultid() != 1)
        << "a test fails exactly when a value exceeds its limit: " << id;
    EXPECT_EQ(test.defectreport().defects_size() > 0, header.resultid() != 1) << id;
    for (const dc::Defect& defect : test.defectreport().defects()) {
      EXPECT_GT(defect.value(), defect.limit());
      bool named = false;  // the defect's key is that of a value over its limit
      for (const auto& [handle, key] : test.measurementvalues().keys()) {
        named = named || (key.SerializeAsString() == defect.clavis().SerializeAsString() &&
                          plant::ExceedsLimit(test.measurementvalues().values().at(handle)));
      }
      EXPECT_TRUE(named) << id;
    }
  }
}

TEST(PlantServer, ACaseGoesBeforeThePlantAndAnEmptyMatchTakesTheRequestSentAsJsonText) {
  const vrex::testing::ScratchDirectory directory;
  GeneratePlantFile(directory.Path() / "plant", 400, 2, 1, kNow);
  StubServer server;
  server.SetPlant(std::make_shared<Plant>(directory.Path() / "plant"));
  server.AddCase({"ApiVersionQuery", "all", "{}", {TextAnswer(503, "busy")}});
  JournalEntry request;
  dc::VersionDTO version;
  ASSERT_TRUE(version.ParseFromString(
      Plant(directory.Path() / "plant").Answer("ApiVersionQuery", request)->body));
  EXPECT_EQ(version.major() * 100 + version.minor() * 10 + version.patch(), 421);
  server.Start();
  for (const std::string body : {"", "{}"}) {
    const auto version = vrex::testing::ExchangeRaw(
        server.Port(), "POST /api/ApiVersionQuery HTTP/1.1\r\nContent-Length: " +
                           std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
    EXPECT_EQ(vrex::testing::StatusOf(version), 503) << "body \"" << body << "\"";
  }
  const auto topology = vrex::testing::ExchangeRaw(
      server.Port(),
      "POST /api/SimpleTopologyQuery HTTP/1.1\r\nContent-Length: 2\r\nConnection: close\r\n\r\n{}");
  EXPECT_EQ(vrex::testing::StatusOf(topology), 200);
  EXPECT_THAT(vrex::testing::BodyOf(topology), ::testing::HasSubstr("Plant-North"));
  EXPECT_FALSE(server.Journal().back().unmatched) << "the plant answered it";

  // A plant that holds a gateway token requires it, the right one.
  {
    plant::SqliteDatabase db(directory.Path() / "plant", plant::SqliteDatabase::Mode::ReadWrite);
    db.Execute("INSERT INTO token VALUES ('gateway', 'secret')");
  }
  const Plant guarded(directory.Path() / "plant");
  EXPECT_EQ(guarded.Answer("SimpleTopologyQuery", request)->status, 401);
  request.headers.push_back({"GatewayApiAuthentication", "wrong token"});
  EXPECT_EQ(guarded.Answer("SimpleTopologyQuery", request)->status, 401);
  request.headers.back().value = "secret";
  EXPECT_EQ(guarded.Answer("SimpleTopologyQuery", request)->status, 200);
}

}  // namespace
}  // namespace vrex::stub
