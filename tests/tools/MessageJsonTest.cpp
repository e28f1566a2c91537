// The library's JSON bridge that vrex stands on: a request that does not fit
// names where (the commands' tests cover what fits, the fuzzers hostile input).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "vrex/MessageJson.h"

namespace vrex {
namespace {

using ::testing::HasSubstr;

TEST(MessageFromJson, FailuresNameTheirCause) {
  const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
      {"MeasurementQuery", R"({"Factroy": "F"})", "MeasurementQuery: unknown field \"Factroy\""},
      {"MeasurementQuery", R"({"Clavis": {"Items": [{"Mood": ""}]}})",
       "unknown field \"Mood\" in Clavis.Items[0]"},
      {"MeasurementQuery", R"({"Factory": 5})", "Factory"},
      {"LogEntryQuery", R"({"Level": "Loud"})", "Loud"},
      {"NoSuchType", "{}", "no contract message is named \"NoSuchType\""},
      {"", "{}", "no contract message is named \"\""},
      {"GetShiftQuery", R"({"Names": [{}, ["Late"]]})", "a list holds a list"},
  };
  for (const auto& [type, json, message] : cases) {
    const auto result = MessageFromJson(type, json);
    EXPECT_FALSE(result.Ok()) << json;
    EXPECT_THAT(result.GetStatus().Message(), HasSubstr(message));
  }
  EXPECT_TRUE(MessageFromJson("GetShiftQuery", R"({"Names": ["a\"[[", "[[b"]})").Ok());
}

}  // namespace
}  // namespace vrex
