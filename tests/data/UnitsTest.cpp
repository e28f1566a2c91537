// Units as the command line and applications write them.

#include <gtest/gtest.h>

#include "vrex/MessageJson.h"
#include "vrex/data/Units.h"

namespace vrex::data {
namespace {

namespace dc = ::Korvan::KQ::DataContracts;

dc::Unit UnitOf(const std::string& json) {
  dc::Unit unit;
  EXPECT_EQ(MergeJsonInto("{" + json + "}", unit), "") << json;
  return unit;
}

TEST(Units, AreWrittenWithPrefixPowerAndScale) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {R"("Id": "pascal")", "Pa"},
      {R"("Id": "volt", "Exponent": -3, "Power": 1)", "mV"},
      {R"("Id": "pascal", "Power": 2)", "Pa^2"},
      {R"("Id": "pascal", "Scale": "Decibel", "LogRef": 2e-05)", "dB re 20 \u00b5Pa"},
      {R"("Id": "pascal", "Exponent": -3, "Scale": "Decibel", "LogRef": 0.02)",
       "dB re 20 \u00b5Pa"},
      {R"("Id": "metre_per_second_squared", "Scale": "Decibel", "LogRef": 1e-06)",
       "dB re 1 \u00b5m/s^2"},
      {R"("Id": "volt", "Scale": "Decibel", "LogRef": 1)", "dB re 1 V"},
      {R"("Id": "pascal", "Scale": "Decibel", "LogRef": 1e-12)", "dB re 1 pPa"},
      {R"("Id": "pascal", "Scale": "Decibel", "LogRef": 1e+12)", "dB re 1 TPa"},
      {R"("Id": "pascal", "Scale": "Decibel", "LogRef": 1e-15)", "dB re 1e-15 Pa"},
      {R"("Id": "pascal", "Exponent": -400, "Scale": "Decibel", "LogRef": 1)", "dB re 0 Pa"},
      {R"("Id": "pascal", "Power": 2, "Scale": "Decibel", "LogRef": 4e-10)", "dB re 4e-10 Pa^2"},
      {R"("Scale": "Decibel", "LogRef": 1)", "dB re 1"},
      {R"("Scale": "Decibel")", "dB"},
      {R"("Id": "hertz", "Scale": "Logarithm")", "log Hz"},
      {R"("Id": "hertz", "Exponent": 2)", "10^2 Hz"},
      {R"("Id": "count")", ""},
      {R"("Id": "pu")", "pu"},
      {"", ""}};
  for (const auto& [json, text] : cases) {
    EXPECT_EQ(UnitText(UnitOf(json)), text) << json;
  }
  EXPECT_EQ(FormatWithUnit(72.4, UnitOf(R"("Id": "pascal", "Scale": "Decibel", "LogRef": 2e-05)")),
            "72.4 dB re 20 \u00b5Pa");
  EXPECT_EQ(FormatWithUnit(1500, UnitOf(R"("Id": "rpm")")), "1500 rpm");
  EXPECT_EQ(FormatWithUnit(3, dc::Unit()), "3");
  EXPECT_EQ(
      UnitText(UnitOf(R"("Id": "pascal", "Exponent": -3, "Scale": "Decibel", "LogRef": 0.02)"),
               DecibelReference::AsSent),
      "dB re 0.02 mPa");
}

TEST(Units, NameTheQuantityTheyMeasure) {
  EXPECT_EQ(AxisLabel(UnitOf(R"("Id": "pascal", "Scale": "Decibel", "LogRef": 2e-05)")),
            "Sound pressure level [dB re 20 \u00b5Pa]");
  EXPECT_EQ(AxisLabel(UnitOf(R"("Id": "order")")), "Order");
  EXPECT_EQ(AxisLabel(UnitOf(R"("Id": "pu")")), "pu");
  EXPECT_EQ(AxisLabel(dc::Unit()), "");
  namespace en = dc::Enumerator;
  const std::vector<std::pair<en::UnitId, std::string>> cases = {
      {en::pascal, "Sound pressure"}, {en::hertz, "Frequency"}, {en::gravity, "Acceleration"},
      {en::bar, "Pressure"},          {en::count, ""},          {en::pu, ""}};
  for (const auto& [id, name] : cases) {
    EXPECT_EQ(QuantityName(id), name) << en::UnitId_Name(id);
  }
}

}  // namespace
}  // namespace vrex::data
