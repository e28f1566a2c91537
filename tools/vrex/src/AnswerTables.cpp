#include "AnswerTables.h"

#include <sstream>

#include "LogLevel.pb.h"
#include "TerminalText.h"
#include "TextTable.h"
#include "ValueSummary.h"
#include "vrex/data/Clavis.h"
#include "vrex/data/Measurements.h"

namespace vrex::cli {

namespace dc = ::Korvan::KQ::DataContracts;

namespace {

// "1", or "2 (last)" for the unit's latest test.
std::string RepetitionText(const dc::GeneralInformation& test) {
  return std::to_string(test.ordinal()) + (test.thislast() ? " (last)" : "");
}

}  // namespace

std::string RenderTestTable(const dc::GeneralInformationContainer& tests,
                            const data::LineTimeZone& zone) {
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

std::string DescribeTest(const dc::GeneralInformation& test, const data::LineTimeZone& zone) {
  return std::to_string(test.pkident()) + "  " + zone.Format(test.measurementtime()) + "  " +
         Printable(test.serial()) + "  " + Printable(test.bench()) + "  " +
         Printable(test.result());
}

namespace {

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
                  defect.has_clavis() ? data::DescribeClavis(defect.clavis()) : "", value.str(),
                  limit.str(), position.str()});
  }
  return "Defects:\n" + Indented(table.Render(), "  ");
}

}  // namespace

std::map<int, const dc::Measurement*> TestsInOrder(const dc::MeasurementContainer& container) {
  // The answer's map has no order; people read tests by identifier.
  std::map<int, const dc::Measurement*> sorted;
  for (const auto& [id, measurement] : container.measurements()) {
    sorted[id] = &measurement;
  }
  return sorted;
}

std::string RenderMeasurements(const dc::MeasurementContainer& container,
                               const data::LineTimeZone& zone) {
  if (container.measurements().empty()) {
    return "No measurements match.\n";
  }
  std::string text;
  for (const auto& [id, measurement] : TestsInOrder(container)) {
    if (!text.empty()) {
      text += "\n";
    }
    text += "Test " + DescribeTest(measurement->generalinformation(), zone) + "\n";
    text += Indented(ValuesTable(measurement->measurementvalues()), "  ");
    text += Indented(DefectsText(measurement->defectreport()), "  ");
  }
  return text;
}

namespace {

namespace en = ::Korvan::KQ::DataContracts::Enumerator;

std::string ContextOf(const dc::LogEntryContainer& log) {
  std::string context;
  for (const std::string* part : {&log.factory(), &log.line(), &log.testbench()}) {
    if (!part->empty()) {
      context += (context.empty() ? "" : " / ") + *part;
    }
  }
  return context.empty() ? "the server" : Printable(context);
}

}  // namespace

std::string RenderLog(const dc::LogEntryContainer& log, const data::LineTimeZone& zone) {
  std::string text = "Log of " + ContextOf(log);
  if (log.has_lastmodified()) {
    text += ", last changed " + zone.Format(log.lastmodified());
  }
  text += "\n";
  if (log.logentries_size() == 0) {
    return text + "No log entries match.\n";
  }
  TextTable table({"TIME (" + zone.Name() + ")", "LEVEL", "SOURCE", "EVENT", "MESSAGE"});
  for (const dc::LogEntry& entry : log.logentries()) {
    table.AddRow({zone.Format(entry.timestamp()), en::LogLevel_Name(entry.level()),
                  entry.sourcecontext(), entry.eventid(), entry.message()});
    if (!entry.exception().empty()) {
      table.AddRow({"", "", "", "", "  exception: " + entry.exception()});
    }
  }
  return text + table.Render();
}

}  // namespace vrex::cli
