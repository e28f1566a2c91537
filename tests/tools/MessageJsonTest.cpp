// The library's JSON bridge: requests built from text, answers printed, and
// no input that makes it throw or abort.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MeasurementQuery.pb.h"
#include "vrex/ContractTypes.h"
#include "vrex/MessageJson.h"

namespace vrex {
namespace {

namespace dc = ::Korvan::KQ::DataContracts;
using ::testing::HasSubstr;

TEST(MessageFromJson, BuildsTheNamedTypeWithContractFieldNames) {
  const auto message = MessageFromJson(
      "MeasurementQuery",
      R"({"Factory": "F", "LastN": {"TopN": 3}, "Clavis": {"Items": [{"Mode": "Run"}], "Exclude": false}})");
  ASSERT_TRUE(message.Ok()) << message.GetStatus().Message();
  const auto& query = dynamic_cast<const dc::MeasurementQuery&>(*message.Value());
  EXPECT_EQ(query.factory(), "F");
  EXPECT_EQ(query.lastn().topn(), 3);
  EXPECT_EQ(query.clavis().items(0).mode(), "Run");
  EXPECT_TRUE(query.clavis().has_exclude());
}

TEST(MessageFromJson, FailuresNameTheirCause) {
  const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
      {"MeasurementQuery", R"({"Factroy": "F"})", "MeasurementQuery: unknown field \"Factroy\""},
      {"MeasurementQuery", R"({"Clavis": {"Items": [{"Mood": ""}]}})",
       "unknown field \"Mood\" in Clavis.Items[0]"},
      {"MeasurementQuery", R"({"Factory": 5})", "Factory"},
      {"LogEntryQuery", R"({"Level": "Loud"})", "Loud"},
      {"NoSuchType", "{}", "no contract message is named \"NoSuchType\""},
      {"", "{}", "no contract message is named \"\""},
  };
  for (const auto& [type, json, message] : cases) {
    const auto result = MessageFromJson(type, json);
    EXPECT_FALSE(result.Ok()) << json;
    EXPECT_THAT(result.GetStatus().Message(), HasSubstr(message));
  }
}

TEST(MessageFromJson, HostileInputIsAnErrorNotACrash) {
  const std::vector<std::string> inputs = {
      "",
      "\xff\xfe\x00",
      std::string(100000, '['),
      std::string(100000, '{'),
      R"({"Time": )" + std::string(5000, '{'),
      R"({"Factory": "\ud800"})",
      R"({"LastN": {"TopN": 1e400}})",
      R"({"LastN": {"TopN": "99999999999999999999"}})",
      "[1, 2, 3]",
      "null",
  };
  for (const std::string& input : inputs) {
    EXPECT_FALSE(MessageFromJson("MeasurementQuery", input).Ok()) << input.substr(0, 40);
  }
}

TEST(MessageToJson, PrintsContractNamesAndRoundTrips) {
  dc::MeasurementQuery query;
  query.set_line("L");
  query.mutable_lastn()->set_topn(7);
  JsonLayout oneLine;
  oneLine.multiLine = false;
  const auto json = MessageToJson(query, oneLine);
  ASSERT_TRUE(json.Ok()) << json.GetStatus().Message();
  EXPECT_EQ(json.Value(), R"({"Line":"L","LastN":{"TopN":7}})");
  const auto back = MessageFromJson("MeasurementQuery", json.Value());
  ASSERT_TRUE(back.Ok());
  EXPECT_EQ(back.Value()->SerializeAsString(), query.SerializeAsString());
}

TEST(FindContractMessage, TakesShortAndFullNames) {
  ASSERT_NE(FindContractMessage("Factory"), nullptr);
  EXPECT_EQ(FindContractMessage("Factory")->full_name(), "Korvan.KQ.DataContracts.Factory");
  ASSERT_NE(FindContractMessage("bcl.DateTime"), nullptr);
  EXPECT_EQ(FindContractMessage("Enumerator.LogLevel"), nullptr) << "an enumeration is no message";
}

}  // namespace
}  // namespace vrex
