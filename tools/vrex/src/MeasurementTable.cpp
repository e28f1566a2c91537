#include "MeasurementTable.h"

#include <map>
#include <sstream>

#include "TestTable.h"
#include "TextTable.h"
#include "ValueSummary.h"
#include "vrex/data/Clavis.h"
#include "vrex/data/Measurements.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;

std::string Indented(const std::string& text, const std::string& indent) {
  std::string result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    result += indent + line + "\n";
  }
  return result;
}

std::string ValuesTable(const dc::MeasurementValueContainer& values) {
  TextTable table({"QUANTITY", "KIND", "VALUE"});
  for (const data::MeasurementEntry& entry : data::PairByHandle(values)) {
    const std::string name =
        entry.key != nullptr ? data::DescribeClavis(*entry.key) : "(value without a key)";
    if (entry.value == nullptr) {
      table.AddRow({name, "-", "(not sent)"});
    } else {
      table.AddRow({name, DescribeKind(*entry.value), SummariseValue(*entry.value)});
    }
  }
  return table.Empty() ? "(no values)\n" : table.Render();
}

std::string DefectsText(const dc::DefectReport& report) {
  if (report.defects_size() == 0) {
    return "";
  }
  TextTable table({"ERROR", "TEXT", "QUANTITY", "VALUE", "LIMIT", "POSITION"});
  for (const dc::Defect& defect : report.defects()) {
    std::ostringstream value;
    std::ostringstream limit;
    std::ostringstream position;
    value << defect.value();
    limit << defect.limit();
    position << defect.position();
    table.AddRow({std::to_string(defect.errorcode()), defect.errortext(),
                  defect.has_clavis() ? data::DescribeClavis(defect.clavis()) : "",
                  value.str(), limit.str(), position.str()});
  }
  return "Defects:\n" + Indented(table.Render(), "  ");
}

}  // namespace

std::string RenderMeasurements(const dc::MeasurementContainer& container,
                               const LineTimeZone& zone) {
  if (container.measurements().empty()) {
    return "No measurements match.\n";
  }
  // The map is keyed by test identifier; people read them in that order.
  const std::map<int, const dc::Measurement*> tests = [&container] {
    std::map<int, const dc::Measurement*> sorted;
    for (const auto& [id, measurement] : container.measurements()) {
      sorted[id] = &measurement;
    }
    return sorted;
  }();
  std::string text;
  for (const auto& [id, measurement] : tests) {
    if (!text.empty()) {
      text += "\n";
    }
    text += "Test " + DescribeTest(measurement->generalinformation(), zone) + "\n";
    text += Indented(ValuesTable(measurement->measurementvalues()), "  ");
    text += Indented(DefectsText(measurement->defectreport()), "  ");
  }
  return text;
}

}  // namespace vrex::cli
