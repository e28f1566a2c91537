#include "AnswerCsv.h"

#include "AnswerTables.h"
#include "Csv.h"
#include "LogLevel.pb.h"
#include "ValueCurves.h"
#include "ValueSummary.h"
#include "vrex/data/Clavis.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Units.h"

namespace vrex::cli {

namespace dc = ::Korvan::KQ::DataContracts;
namespace en = ::Korvan::KQ::DataContracts::Enumerator;

std::string TestsCsv(const dc::GeneralInformationContainer& tests, const data::LineTimeZone& zone) {
  std::string csv = CsvRecord(
      {"id", "time", "serial", "type", "bench", "result", "test_kind", "ordinal", "last"});
  for (const dc::GeneralInformation& test : tests.values()) {
    csv += CsvRecord({std::to_string(test.pkident()), zone.Format(test.measurementtime()),
                      test.serial(), test.type(), test.bench(), test.result(), test.testkind(),
                      std::to_string(test.ordinal()), test.thislast() ? "true" : "false"});
  }
  return csv;
}

namespace {

// The first upper limit's curves: the limit column shows it point by point.
std::vector<Curve> UpperLimit(const dc::MeasurementValue& value) {
  for (LimitCurves& limit : LimitsOf(value)) {
    if (limit.type == en::UpperLimit) return std::move(limit.curves);
  }
  return {};
}

// The limit at point `i` of row `r`, or "" where the limit has none.
std::string LimitAt(const std::vector<Curve>& limit, std::size_t r, std::size_t i) {
  return r < limit.size() && i < limit[r].y.size() ? FloatText(limit[r].y[i]) : "";
}

// The rows of one value of one test; `lead` holds test_id, serial, result
// and quantity.
std::string ValueRows(const std::vector<std::string>& lead, const dc::MeasurementValue* value) {
  const auto row = [&lead](std::vector<std::string> rest) {
    std::vector<std::string> fields = lead;
    fields.insert(fields.end(), rest.begin(), rest.end());
    return CsvRecord(fields);
  };
  if (value == nullptr) {
    return row({"", "", "", "", "", "", "", "", "not sent"});
  }
  const ValueCurves curves = CurvesOf(*value);
  const std::string kind = DescribeKind(*value);
  if (curves.curves.empty()) {
    return row({kind, "", "", "", "", "", "", "", SummariseValue(*value)});
  }
  const std::vector<Curve> limit = UpperLimit(*value);
  const std::string xUnit = data::UnitText(curves.xUnit, kDecibelReference);
  const std::string zUnit =
      curves.curves.front().z ? data::UnitText(curves.zUnit, kDecibelReference) : "";
  const std::string yUnit = data::UnitText(curves.yUnit, kDecibelReference);
  std::string rows;
  for (std::size_t r = 0; r < curves.curves.size(); ++r) {
    const Curve& curve = curves.curves[r];
    const std::string z = curve.z ? AxisText(*curve.z) : "";
    for (std::size_t i = 0; i < curve.y.size(); ++i) {
      rows += row({kind, AxisText(curve.x[i]), xUnit, z, zUnit, FloatText(curve.y[i]), yUnit,
                   LimitAt(limit, r, i),
                   value->invalid().empty() ? "" : "invalid: " + value->invalid()});
    }
  }
  return rows;
}

}  // namespace

std::string MeasurementsCsv(const dc::MeasurementContainer& container) {
  std::string csv = CsvRecord({"test_id", "serial", "result", "quantity", "kind", "x", "x_unit",
                               "z", "z_unit", "y", "y_unit", "limit", "note"});
  for (const auto& [id, measurement] : TestsInOrder(container)) {
    for (const data::MeasurementEntry& entry :
         data::PairByHandle(measurement->measurementvalues())) {
      const std::string quantity = entry.key != nullptr ? data::DescribeClavis(*entry.key) : "";
      const dc::GeneralInformation& test = measurement->generalinformation();
      csv += ValueRows({std::to_string(id), test.serial(), test.result(), quantity}, entry.value);
    }
  }
  return csv;
}

std::string LogCsv(const dc::LogEntryContainer& log, const data::LineTimeZone& zone) {
  std::string csv = CsvRecord({"time", "level", "source", "event", "message", "exception"});
  for (const dc::LogEntry& entry : log.logentries()) {
    csv += CsvRecord({zone.Format(entry.timestamp()), en::LogLevel_Name(entry.level()),
                      entry.sourcecontext(), entry.eventid(), entry.message(), entry.exception()});
  }
  return csv;
}

}  // namespace vrex::cli
