#include "TestTable.h"

#include "TextTable.h"

namespace vrex::cli {

namespace dc = ::Korvan::KQ::DataContracts;

namespace {

// "1", or "2 (last)" for the unit's latest test.
std::string RepetitionText(const dc::GeneralInformation& test) {
  return std::to_string(test.ordinal()) + (test.thislast() ? " (last)" : "");
}

}  // namespace

std::string RenderTestTable(const dc::GeneralInformationContainer& tests,
                            const LineTimeZone& zone) {
  if (tests.values_size() == 0) {
    return "No tests match.\n";
  }
  TextTable table({"ID", "TIME (" + zone.Name() + ")", "SERIAL", "TYPE", "BENCH", "RESULT",
                   "TEST KIND", "ORDINAL"});
  for (const dc::GeneralInformation& test : tests.values()) {
    table.AddRow({std::to_string(test.pkident()), zone.Format(test.measurementtime()),
                  test.serial(), test.type(), test.bench(), test.result(), test.testkind(),
                  RepetitionText(test)});
  }
  return table.Render();
}

std::string DescribeTest(const dc::GeneralInformation& test, const LineTimeZone& zone) {
  return std::to_string(test.pkident()) + "  " + zone.Format(test.measurementtime()) + "  " +
         test.serial() + "  " + test.bench() + "  " + test.result();
}

}  // namespace vrex::cli
