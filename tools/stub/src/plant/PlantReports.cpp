#include "plant/PlantReports.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <set>

#include "ArchiveFileInfoContainer.pb.h"
#include "ArchiveFileInfoQuery.pb.h"
#include "CsvExportFileQuery.pb.h"
#include "LastTestByBenchQuery.pb.h"
#include "MainDataInfoContainer.pb.h"
#include "RejectMessagesContainer.pb.h"
#include "RejectMessagesQuery.pb.h"
#include "RejectsByShiftContainer.pb.h"
#include "RejectsByShiftQuery.pb.h"
#include "TopNRejectsContainer.pb.h"
#include "TopNRejectsQuery.pb.h"
#include "WavFileInfo.pb.h"
#include "WavFileInfoQuery.pb.h"
#include "WavFileQuery.pb.h"
#include "WavFileTestBenchQuery.pb.h"
#include "plant/DefectFilter.h"
#include "plant/PlantArchives.h"
#include "plant/PlantLine.h"
#include "plant/TestSelection.h"
#include "plant/TestSound.h"
#include "plant/TestValues.h"

namespace vrex::stub::plant {

namespace {

namespace pb = google::protobuf;
namespace en = Korvan::KQ::DataContracts::Enumerator;

constexpr int kIdleSpectrumId = 3;

TestRow RequireTest(SqliteDatabase& db, const PlantLine& line, std::int32_t id) {
  pb::RepeatedField<std::int32_t> ids;
  ids.Add(id);
  auto tests = TestsById(db, line, ids);
  if (tests.empty())
    throw PlantRefusal(404, "no test " + std::to_string(id) + " on line \"" + line.name + "\"");
  return std::move(tests.front());
}

CannedAnswer Sound(SqliteDatabase& db, const PlantLine& line, std::int32_t id) {
  const TestRow test = RequireTest(db, line, id);
  const dc::MeasurementValue spectrum =
      QuantityValue(kIdleSpectrumId, test.seed, DefectsOf(db, id).exceedances);
  CannedAnswer answer;
  answer.body = SynthesiseSound(spectrum.vector(), test.seed);
  answer.contentType = "audio/wav";
  return answer;
}

std::string SoundPath(const TestRow& test) {
  return std::to_string(test.header.pkident()) + ".wav";
}

dc::WavFileInfo SoundInfo(SqliteDatabase& db, const dc::WavFileInfoQuery& query) {
  const PlantLine line = LineOf(db, query);
  const TestRow test = RequireTest(db, line, query.identifier());
  dc::WavFileInfo info;
  info.set_factory(line.factory);
  info.set_line(line.name);
  info.set_testbench(test.header.bench());
  info.set_wavfilepath(SoundPath(test));
  return info;
}

CannedAnswer SoundByName(SqliteDatabase& db, const dc::WavFileTestBenchQuery& query) {
  const PlantLine line = LineOf(db, query);
  const std::string& name = query.filename();
  const std::size_t dot = name.rfind(".wav");
  const bool digits = dot != std::string::npos && dot > 0 && dot < 10 &&
                      std::all_of(name.begin(), name.begin() + static_cast<long>(dot),
                                  [](unsigned char c) { return std::isdigit(c) != 0; });
  if (!digits) throw PlantRefusal(404, "no sound file \"" + name + "\"");
  const auto id = static_cast<std::int32_t>(std::stol(name.substr(0, dot)));
  if (RequireTest(db, line, id).header.bench() != query.testbench()) {
    throw PlantRefusal(404,
                       "no sound file \"" + name + "\" on bench \"" + query.testbench() + "\"");
  }
  return Sound(db, line, id);
}

dc::ArchiveFileInfoContainer ArchiveInfos(SqliteDatabase& db,
                                          const dc::ArchiveFileInfoQuery& query) {
  dc::ArchiveFileInfoContainer container;
  for (const TestRow& test : TestsById(db, LineOf(db, query), query.pkidents())) {
    dc::ArchiveFileInfo& info = *container.add_values();
    info.set_pkident(test.header.pkident());
    info.set_offset(test.header.fileoffset());
    info.set_relativefilepath(test.header.relativefilepath());
    info.set_serial(test.header.serial());
    info.set_testbench(test.header.bench());
    info.set_basetype(test.header.basetype());
  }
  return container;
}

dc::RejectsByShiftContainer RejectsByShift(SqliteDatabase& db,
                                           const dc::RejectsByShiftQuery& query) {
  const PlantLine line = LineOf(db, query);
  const auto tests = SelectTests(db, line, ReadSelection(query));
  auto typeId = db.Prepare("SELECT id FROM unit_type WHERE name = ?1");
  dc::RejectsByShiftContainer container;
  for (const Reject& reject : RejectsOf(db, tests)) {
    const std::string shift = ShiftAt(line, reject.test->header.measurementtime().value());
    dc::RejectsByShiftData& data = *container.add_values();
    data.set_shiftname(shift);
    for (const PlantShift& known : line.shifts) {
      if (known.name == shift) data.set_shiftid(static_cast<std::int32_t>(known.id));
    }
    data.set_typename_(reject.test->header.type());
    typeId.BindAll(reject.test->header.type());
    if (typeId.Step()) data.set_typeid_(static_cast<std::int32_t>(typeId.Int(0)));
    typeId.Reset();
    if (reject.defects.defects_size() > 0) {
      data.set_errortext(reject.defects.defects(0).errortext());
      data.set_errorcode(reject.defects.defects(0).errorcode());
    }
  }
  return container;
}

/// What a defect of a reject counts under, by `groupBy`.
std::pair<std::string, std::string> CategoryOf(const Reject& reject, const dc::Defect& defect,
                                               en::TopNGroupBy groupBy) {
  const dc::GeneralInformation& header = reject.test->header;
  switch (groupBy) {
    case en::Type:
      return {header.type(), header.basetype()};
    case en::BaseType:
      return {header.basetype(), ""};
    case en::TestBench:
      return {header.bench(), ""};
    case en::Instrument:
      return {defect.clavis().instrument(), ""};
    case en::Parameter:
      return {defect.clavis().instrumentparameter(), ""};
    case en::Mode:
      return {defect.clavis().mode(), ""};
    case en::Location:
      return {defect.clavis().location(), ""};
    case en::Channel:
      return {defect.clavis().channel(), ""};
    default:
      return {std::to_string(defect.errorcode()), defect.errortext()};
  }
}

dc::TopNRejectsContainer TopNRejects(SqliteDatabase& db, const dc::TopNRejectsQuery& query) {
  const PlantLine line = LineOf(db, query);
  const auto tests = SelectTests(db, line, ReadSelection(query));
  const DefectFilter filter(db, line, query, query.includewarnings());
  std::map<std::pair<std::string, std::string>, dc::TopNRejectsData> counts;
  for (const Reject& reject : RejectsOf(db, tests, query.includewarnings())) {
    // A test counts once in each category its defects fall in.
    std::set<std::pair<std::string, std::string>> seen;
    for (const dc::Defect* defect : filter.Select(reject.defects.defects())) {
      const auto category = CategoryOf(reject, *defect, query.groupby());
      if (!seen.insert(category).second) continue;
      dc::TopNRejectsData& data = counts[category];
      if (data.count() == 0) {
        data.set_category(category.first);
        data.set_categoryinfo(category.second);
        data.set_groupby(query.groupby());
        *data.mutable_from() = reject.test->header.measurementtime();
      }
      data.set_count(data.count() + 1);
      *data.mutable_until() = reject.test->header.measurementtime();
    }
  }
  std::vector<dc::TopNRejectsData> ranked;
  for (auto& [category, data] : counts) ranked.push_back(std::move(data));
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const auto& a, const auto& b) { return a.count() > b.count(); });
  if (query.topncount() > 0 && ranked.size() > static_cast<std::size_t>(query.topncount())) {
    ranked.resize(static_cast<std::size_t>(query.topncount()));
  }
  dc::TopNRejectsContainer container;
  for (auto& data : ranked) *container.add_values() = std::move(data);
  return container;
}

/// What a reject message says of its unit beyond the test: the unit's first
/// and newest tests and the result of the test after this one.
void SetUnitFacts(SqliteDatabase& db, const PlantLine& line, bool productionDate,
                  dc::RejectMessagesData& row) {
  const dc::GeneralInformation& header = row.generalinformation();
  auto unit = db.Prepare(
      "SELECT MIN(t.time), MAX(t.time), MAX(t.ordinal), r.name, n.result_id FROM test t"
      " LEFT JOIN test n ON n.line_id = ?1 AND n.serial = ?2 AND n.ordinal = ?3"
      " LEFT JOIN result_kind r ON r.id = n.result_id WHERE t.line_id = ?1 AND t.serial = ?2");
  unit.BindAll(line.id, header.serial(), std::int64_t{header.ordinal() + 1});
  unit.Step();
  const std::int64_t first = unit.Int(0);
  *row.mutable_timeoffirsttest() = UtcTime(first);
  *row.mutable_timeoflasttest() = UtcTime(unit.Int(1));
  row.set_thislastresult(header.thislast() ? 1 : 0);
  row.set_thislastrepeated(unit.Int(2) > 1 ? 1 : 0);
  if (!unit.IsNull(4)) {  // the unit was tested again
    row.set_repeatresult(unit.Text(3));
    row.set_repeatresultid(static_cast<std::int32_t>(unit.Int(4)));
  }
  row.set_ageofunit(std::to_string((header.measurementtime().value() - first) / 60) + " min");
  if (productionDate) {
    const std::time_t seconds = first;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char date[16];
    std::strftime(date, sizeof date, "%Y-%m-%d", &utc);
    row.set_productiondate(date);
  }
}

dc::RejectMessagesData RejectMessage(const Reject& reject, const dc::Defect& defect) {
  dc::RejectMessagesData row;
  *row.mutable_generalinformation() = reject.test->header;
  row.set_errorcode(defect.errorcode());
  row.set_errorsequencenumber(defect.errornr());
  row.set_errortext(defect.errortext());
  row.set_mode(defect.clavis().mode());
  row.set_location(defect.clavis().location());
  row.set_instrument(defect.clavis().instrument());
  row.set_ipparam(defect.clavis().instrumentparameter());
  row.set_channel(defect.clavis().channel());
  row.set_position(defect.position());
  row.set_value(defect.value());
  row.set_limit(defect.limit());
  row.set_unit(defect.clavis().sensor().rfind("MIC", 0) == 0 ? "dB" : "m/s²");
  row.set_firsterror(defect.errornr() == 1 ? 1 : 0);
  return row;
}

/// Whether `a` goes before `b` by the first key of `order` that tells them apart.
bool Before(const dc::OrderByFilter& order, const dc::RejectMessagesData& a,
            const dc::RejectMessagesData& b) {
  for (const dc::OrderByObject& item : order.items()) {
    const dc::GeneralInformation& x = a.generalinformation();
    const dc::GeneralInformation& y = b.generalinformation();
    int compared = 0;
    switch (item.key()) {
      case en::OrderByProductionTime:
        compared = (a.timeoffirsttest().value() > b.timeoffirsttest().value()) -
                   (a.timeoffirsttest().value() < b.timeoffirsttest().value());
        break;
      case en::OrderByType:
        compared = x.type().compare(y.type());
        break;
      case en::OrderByBaseType:
        compared = x.basetype().compare(y.basetype());
        break;
      case en::OrderByTestBench:
        compared = x.bench().compare(y.bench());
        break;
      case en::OrderByErrorCode:
        compared = (a.errorcode() > b.errorcode()) - (a.errorcode() < b.errorcode());
        break;
      default:
        compared = (x.measurementtime().value() > y.measurementtime().value()) -
                   (x.measurementtime().value() < y.measurementtime().value());
    }
    if (compared != 0) return (compared < 0) != (item.direction() == en::OrderDescending);
  }
  return false;
}

dc::RejectMessagesContainer RejectMessages(SqliteDatabase& db,
                                           const dc::RejectMessagesQuery& query) {
  const PlantLine line = LineOf(db, query);
  const auto tests = SelectTests(db, line, ReadSelection(query));
  const bool warnings = !query.errorsonly();
  const DefectFilter filter(db, line, query, warnings);
  std::vector<dc::RejectMessagesData> rows;
  for (const Reject& reject : RejectsOf(db, tests, warnings)) {
    for (const dc::Defect* defect : filter.Select(reject.defects.defects())) {
      rows.push_back(RejectMessage(reject, *defect));
      SetUnitFacts(db, line, query.includeproductiondate(), rows.back());
    }
  }
  std::stable_sort(rows.begin(), rows.end(),
                   [&](const auto& a, const auto& b) { return Before(query.orderby(), a, b); });
  dc::RejectMessagesContainer container;
  for (auto& row : rows) *container.add_values() = std::move(row);
  return container;
}

/// The newest test of each bench of the line, by bench.
dc::MainDataInfoContainer LastTests(SqliteDatabase& db, const dc::LastTestByBenchQuery& query) {
  const PlantLine line = LineOf(db, query);
  auto newest = db.Prepare(
      "SELECT (SELECT t.id FROM test t WHERE t.line_id = b.line_id AND t.bench_id = b.id ORDER BY"
      " t.time DESC, t.id DESC LIMIT 1) FROM bench b WHERE b.line_id = ?1 ORDER BY b.id");
  newest.BindAll(line.id);
  pb::RepeatedField<std::int32_t> ids;
  while (newest.Step()) {
    if (!newest.IsNull(0)) ids.Add(static_cast<std::int32_t>(newest.Int(0)));
  }
  dc::MainDataInfoContainer container;
  for (const TestRow& test : TestsById(db, line, ids)) {
    const dc::GeneralInformation& header = test.header;
    dc::MainDataInfo& info = *container.add_values();
    info.set_pkident(header.pkident());
    info.set_ordinal(header.ordinal());
    info.set_serial(header.serial());
    info.set_type(header.type());
    info.set_basetype(header.basetype());
    info.set_bench(header.bench());
    info.set_result(header.result());
    info.set_resultid(header.resultid());
    info.set_testkind(header.testkind());
    info.set_thislast(header.thislast());
    *info.mutable_measurementtime() = header.measurementtime();
    if (header.has_timeofnextmeasurement())
      *info.mutable_timeofnextmeasurement() = header.timeofnextmeasurement();
  }
  return container;
}

/// A field of a CSV line, quoted when it holds a separator, quote or line end.
std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

/// The selected tests' headers as CSV, one line each, oldest first; times in UTC.
CannedAnswer CsvExport(SqliteDatabase& db, const dc::CsvExportFileQuery& query) {
  std::string csv =
      "PkIdent,MeasurementTime,Serial,Type,BaseType,Bench,Result,TestKind,Ordinal,ThisLast,"
      "Operator,ProductionOrder\r\n";
  for (const TestRow& test : SelectTests(db, LineOf(db, query), ReadSelection(query))) {
    const dc::GeneralInformation& h = test.header;
    const std::time_t seconds = h.measurementtime().value();
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char time[32];
    std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%SZ", &utc);
    const auto info = [&h](const char* key) {
      const auto found = h.additionalinfo().find(key);
      return found == h.additionalinfo().end() ? std::string() : found->second;
    };
    for (const std::string& field :
         {std::to_string(h.pkident()), std::string(time), h.serial(), h.type(), h.basetype(),
          h.bench(), h.result(), h.testkind(), std::to_string(h.ordinal()),
          std::string(h.thislast() ? "1" : "0"), info("Operator"), info("ProductionOrder")}) {
      csv += CsvField(field) + ",";
    }
    csv.back() = '\r';
    csv += '\n';
  }
  CannedAnswer answer;
  answer.body = std::move(csv);
  answer.contentType = "text/csv";
  return answer;
}

}  // namespace

void AddReportHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers) {
  handlers.emplace("WavFileQuery", [](SqliteDatabase& db, const pb::Message& request) {
    const auto& query = dynamic_cast<const dc::WavFileQuery&>(request);
    return Sound(db, LineOf(db, query), query.identifier());
  });
  handlers.emplace("WavFileTestBenchQuery", [](SqliteDatabase& db, const pb::Message& request) {
    return SoundByName(db, dynamic_cast<const dc::WavFileTestBenchQuery&>(request));
  });
  handlers.emplace("WavFileInfoQuery", Answering<dc::WavFileInfoQuery>(SoundInfo));
  handlers.emplace("ArchiveFileInfoQuery", Answering<dc::ArchiveFileInfoQuery>(ArchiveInfos));
  handlers.emplace("RejectsByShiftQuery", Answering<dc::RejectsByShiftQuery>(RejectsByShift));
  handlers.emplace("TopNRejectsQuery", Answering<dc::TopNRejectsQuery>(TopNRejects));
  handlers.emplace("RejectMessagesQuery", Answering<dc::RejectMessagesQuery>(RejectMessages));
  handlers.emplace("CsvExportFileQuery", [](SqliteDatabase& db, const pb::Message& request) {
    return CsvExport(db, dynamic_cast<const dc::CsvExportFileQuery&>(request));
  });
  handlers.emplace("LastTestByBenchQuery", Answering<dc::LastTestByBenchQuery>(LastTests));
  AddArchiveHandlers(handlers);
}

}  // namespace vrex::stub::plant
