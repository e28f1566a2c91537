#include "plant/PlantQueries.h"

#include <cstdio>
#include <ctime>
#include <map>
#include <string>

#include "ApiVersionQuery.pb.h"
#include "DefectReportByIdQuery.pb.h"
#include "DefectReportContainer.pb.h"
#include "DefectReportQuery.pb.h"
#include "ErrorGroupsContainer.pb.h"
#include "FactoryResultCountQuery.pb.h"
#include "GeneralInformationByIdQuery.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "GetErrorGroupQuery.pb.h"
#include "GetReferenceUnitQuery.pb.h"
#include "GetShiftQuery.pb.h"
#include "GetTokensQuery.pb.h"
#include "IdNameTableStore.pb.h"
#include "LineResultCountContainer.pb.h"
#include "LineResultCountQuery.pb.h"
#include "MeasurementByIdQuery.pb.h"
#include "MeasurementInformationContainer.pb.h"
#include "MeasurementInformationFromFileQuery.pb.h"
#include "MeasurementInformationQuery.pb.h"
#include "MeasurementQuery.pb.h"
#include "MeasurementValueIndexByIdQuery.pb.h"
#include "MeasurementValueIndexContainer.pb.h"
#include "MeasurementValueIndexQuery.pb.h"
#include "ProtocolCrossReferenceQuery.pb.h"
#include "ProtocolCrossReferenceStore.pb.h"
#include "ReferenceUnitContainer.pb.h"
#include "ResultCountContainer.pb.h"
#include "ResultCountQuery.pb.h"
#include "ResultDbIdNameTablesQuery.pb.h"
#include "ResultDbSizeContainer.pb.h"
#include "ResultDbSizeQuery.pb.h"
#include "ResultDbSizesQuery.pb.h"
#include "ShiftContainer.pb.h"
#include "SimpleTopologyContainer.pb.h"
#include "SimpleTopologyQuery.pb.h"
#include "StoreTokenCommand.pb.h"
#include "VectorTrackOfMeasurementsByIdQuery.pb.h"
#include "VectorTrackOfMeasurementsContainer.pb.h"
#include "VectorTrackOfMeasurementsQuery.pb.h"
#include "VersionDTO.pb.h"
#include "plant/MeasurementAnswer.h"
#include "plant/PlantAdministration.h"
#include "plant/PlantCommands.h"
#include "plant/PlantLine.h"
#include "plant/PlantReports.h"
#include "plant/TestHistory.h"
#include "plant/TestSelection.h"
#include "plant/TestValues.h"

namespace vrex::stub::plant {

namespace {

namespace pb = google::protobuf;
namespace en = Korvan::KQ::DataContracts::Enumerator;

dc::VersionDTO Version(SqliteDatabase& db) {
  auto statement = db.Prepare("SELECT value FROM plant_info WHERE key = 'api_version'");
  dc::VersionDTO version;
  if (statement.Step()) {
    int major = 0, minor = 0, patch = 0;
    std::sscanf(statement.Text(0).c_str(), "%d.%d.%d", &major, &minor, &patch);
    version.set_major(major);
    version.set_minor(minor);
    version.set_patch(patch);
  }
  return version;
}

void FillZone(dc::TimezoneInfo& zone, const SqliteStatement& row, int first) {
  zone.set_ianatimezoneid(row.Text(first));
  zone.set_windowstimezoneid(row.Text(first + 1));
  zone.set_utcoffsetinminutes(static_cast<std::int32_t>(row.Int(first + 2)));
  zone.set_supportsdaylightsavingtime(row.Int(first + 3) != 0);
}

dc::SimpleTopologyContainer Topology(SqliteDatabase& db) {
  auto lines = db.Prepare(
      "SELECT f.name, l.name, l.id, l.iana_zone, l.windows_zone, l.utc_offset_minutes,"
      " l.daylight_saving, l.bench_iana_zone, l.bench_windows_zone, l.bench_utc_offset_minutes,"
      " l.bench_daylight_saving FROM factory f LEFT JOIN line l ON l.factory_id = f.id"
      " ORDER BY f.id, l.id");
  auto benches = db.Prepare("SELECT name FROM bench WHERE line_id = ?1 ORDER BY id");
  dc::SimpleTopologyContainer topology;
  while (lines.Step()) {
    if (topology.values_size() == 0 || topology.values().rbegin()->name() != lines.Text(0)) {
      topology.add_values()->set_name(lines.Text(0));
    }
    if (lines.IsNull(2)) continue;
    dc::Line& line = *topology.mutable_values()->rbegin()->add_lines();
    line.set_name(lines.Text(1));
    FillZone(*line.mutable_timezoneid(), lines, 3);
    FillZone(*line.mutable_benchtimezoneid(), lines, 7);
    benches.BindAll(lines.Int(2));
    while (benches.Step()) line.add_testbenches()->set_name(benches.Text(0));
    benches.Reset();
  }
  return topology;
}

dc::GeneralInformationContainer Headers(std::vector<TestRow>&& tests) {
  dc::GeneralInformationContainer container;
  container.mutable_values()->Reserve(static_cast<int>(tests.size()));
  // Moved, not copied: a day of a busy line has thousands of headers.
  for (TestRow& test : tests) *container.add_values() = std::move(test.header);
  return container;
}

dc::MeasurementInformation InformationOf(const TestRow& test, const TestDefects& defects) {
  dc::MeasurementInformation information;
  *information.mutable_generalinformation() = test.header;
  *information.mutable_defectreport() = defects.report;
  return information;
}

dc::MeasurementInformationContainer Informations(SqliteDatabase& db,
                                                 const std::vector<TestRow>& tests) {
  dc::MeasurementInformationContainer container;
  for (const TestRow& test : tests) {
    (*container.mutable_measurements())[test.header.pkident()] =
        InformationOf(test, DefectsOf(db, test.header.pkident()));
  }
  return container;
}

/// The vector quantity `wanted` names of every test, one element each (Z: the
/// test's identifier).
dc::VectorTrackOfMeasurementsContainer VectorsOf(SqliteDatabase& db,
                                                 const std::vector<TestRow>& tests,
                                                 const dc::Clavis& wanted) {
  const auto& quantities = PlantQuantities();
  const auto quantity =
      std::find_if(quantities.begin(), quantities.end(), [&](const QuantityInfo& q) {
        return q.dataType == Korvan::KQ::DataContracts::Enumerator::Vector &&
               Names(wanted, ClavisOf(q));
      });
  if (quantity == quantities.end()) throw PlantRefusal(400, "the clavis names no vector quantity");
  dc::VectorTrackOfMeasurementsContainer container;
  *container.mutable_clavis() = ClavisOf(*quantity);
  dc::VectorTrack& track = *container.mutable_vectortrack();
  for (const TestRow& test : tests) {
    const TestDefects defects = DefectsOf(db, test.header.pkident());
    dc::Vector vector = QuantityValue(quantity->id, test.seed, defects.exceedances).vector();
    if (!track.has_xaxisrange()) {
      *track.mutable_xunit() = vector.xunit();
      *track.mutable_yunit() = vector.yunit();
      *track.mutable_xaxisrange() = vector.xaxisrange();
    }
    dc::VectorTrackElement& element = *track.add_values();
    element.set_z(static_cast<float>(test.header.pkident()));
    *element.mutable_vectorpoints() = std::move(*vector.mutable_values());
    (*container.mutable_measurementinfos())[test.header.pkident()] = InformationOf(test, defects);
  }
  return container;
}

/// Where each wanted quantity of each test lies in its archive file, without
/// its value: a quantity's data lies a fixed step after the test's.
dc::MeasurementValueIndexContainer ValueIndexes(const std::vector<TestRow>& tests,
                                                const dc::ClavisFilter* filter) {
  constexpr std::int32_t kQuantityStep = 4096;  // bytes of one quantity in the archive
  dc::MeasurementValueIndexContainer container;
  for (const TestRow& test : tests) {
    dc::MeasurementValueIndices& indices =
        (*container.mutable_measurementvalueindicies())[test.header.pkident()];
    for (const QuantityInfo& quantity : PlantQuantities()) {
      const dc::Clavis key = ClavisOf(quantity);
      if (!Wanted(key, filter)) continue;
      dc::MeasurementValueIndex& index = *indices.add_values();
      *index.mutable_clavis() = key;
      index.set_fileoffset(test.header.fileoffset() + (quantity.id - 1) * kQuantityStep);
      index.set_datatype(static_cast<en::DataType>(quantity.dataType));
    }
  }
  return container;
}

/// The tests whose data an archive file holds (`.../YYYY/MM/DD/<bench>_YYYYMMDD.kqa`,
/// the path of their RelativeFilePath), with their value indexes on request.
dc::MeasurementInformationContainer FromFile(SqliteDatabase& db,
                                             const dc::MeasurementInformationFromFileQuery& query) {
  const PlantLine line = LineOf(db, query);
  const std::string& path = query.absolutepath();
  const std::string name = path.substr(path.rfind('/') + 1);  // npos + 1: the whole path
  const std::size_t underscore = name.rfind('_');
  std::tm day{};
  const bool named = underscore != std::string::npos && name.size() == underscore + 13 &&
                     name.compare(underscore + 9, 4, ".kqa") == 0 &&
                     std::sscanf(name.c_str() + underscore + 1, "%4d%2d%2d", &day.tm_year,
                                 &day.tm_mon, &day.tm_mday) == 3;
  dc::MeasurementInformationContainer container;
  if (named) {
    day.tm_year -= 1900;
    day.tm_mon -= 1;
    const std::int64_t start = timegm(&day);
    Selection selection;
    selection.bench.emplace().add_items(name.substr(0, underscore));
    *selection.time.emplace().mutable_from() = UtcTime(start);
    *selection.time->mutable_until() = UtcTime(start + 86399);
    for (const TestRow& test : SelectTests(db, line, selection)) {
      const std::string& relative = test.header.relativefilepath();
      if (path.size() < relative.size() ||
          path.compare(path.size() - relative.size(), relative.size(), relative) != 0) {
        continue;
      }
      dc::MeasurementInformation& information =
          (*container.mutable_measurements())[test.header.pkident()];
      information = InformationOf(test, DefectsOf(db, test.header.pkident()));
      if (query.includemeasurementvalueindices()) {
        *information.mutable_measurementvalueindices() = ValueIndexes({test}, nullptr)
                                                             .measurementvalueindicies()
                                                             .at(test.header.pkident())
                                                             .values();
      }
    }
  }
  if (container.measurements().empty()) throw PlantRefusal(404, "no archive file \"" + path + "\"");
  return container;
}

dc::DefectReportContainer Defects(SqliteDatabase& db, const std::vector<TestRow>& tests) {
  dc::DefectReportContainer container;
  for (const TestRow& test : tests) {
    (*container.mutable_values())[test.header.pkident()] =
        DefectsOf(db, test.header.pkident()).report;
  }
  return container;
}

dc::ShiftContainer ShiftPlan(SqliteDatabase& db, const dc::GetShiftQuery& query) {
  const PlantLine line = LineOf(db, query);
  auto items = db.Prepare(
      "SELECT id, start_minute, end_minute, day, weekdays FROM shift_item WHERE shift_id = ?1 "
      "ORDER BY id");
  dc::ShiftContainer container;
  for (const PlantShift& shift : line.shifts) {
    if (!Asked(query.names(), shift.name)) continue;
    dc::Shift& answer = *container.add_values();
    answer.set_id(static_cast<std::int32_t>(shift.id));
    answer.set_name(shift.name);
    items.BindAll(shift.id);
    for (const ShiftSpan& span : shift.spans) {
      items.Step();
      dc::ShiftItem& item = *answer.add_items();
      item.set_id(static_cast<std::int32_t>(items.Int(0)));
      item.set_start(span.startMinute);
      item.set_end(span.endMinute);
      item.set_day(static_cast<std::int32_t>(items.Int(3)));
      for (int day : span.weekdays) item.add_weekdays(static_cast<en::Weekday>(day));
    }
    items.Reset();
  }
  return container;
}

dc::ResultCountContainer ResultCounts(SqliteDatabase& db, const dc::ResultCountQuery& query) {
  const PlantLine line = LineOf(db, query);
  const auto tests = SelectTests(db, line, ReadSelection(query));
  std::map<std::pair<std::string, std::string>, dc::ResultCountData> groups;
  for (const TestRow& test : tests) {
    dc::ResultCountData& data = groups[{test.header.bench(), test.header.type()}];
    if (data.allunits() == 0) {
      data.set_benchname(test.header.bench());
      data.set_typename_(test.header.type());
      *data.mutable_datefrom() = test.header.measurementtime();
    }
    *data.mutable_dateuntil() = test.header.measurementtime();
    data.set_allunits(data.allunits() + 1);
    if (test.header.resultid() == 1) {
      data.set_goodunits(data.goodunits() + 1);
    } else {
      data.set_badunits(data.badunits() + 1);
    }
  }
  auto ids = db.Prepare(
      "SELECT (SELECT id FROM bench WHERE line_id = ?1 AND name = ?2),"
      " (SELECT id FROM unit_type WHERE name = ?3)");
  dc::ResultCountContainer container;
  for (auto& [key, data] : groups) {
    ids.BindAll(line.id, key.first, key.second);
    if (ids.Step()) {
      data.set_benchid(static_cast<std::int32_t>(ids.Int(0)));
      data.set_typeid_(static_cast<std::int32_t>(ids.Int(1)));
    }
    ids.Reset();
    *container.add_values() = std::move(data);
  }
  return container;
}

dc::IdNameTableStore NameTables(SqliteDatabase& db, const dc::ResultDbIdNameTablesQuery& query) {
  LineOf(db, query);
  dc::IdNameTableStore store;
  store.set_factory(query.factory());
  store.set_line(query.line());
  auto rows = db.Prepare("SELECT table_name, id, name FROM name_table ORDER BY table_name, id");
  while (rows.Step()) {
    if (store.tables_size() == 0 || store.tables().rbegin()->name() != rows.Text(0)) {
      store.add_tables()->set_name(rows.Text(0));
    }
    dc::IdNameTableItem& item = *store.mutable_tables()->rbegin()->add_items();
    item.set_id(static_cast<std::int32_t>(rows.Int(1)));
    item.set_name(rows.Text(2));
  }
  return store;
}

dc::ErrorGroupsContainer ErrorGroups(SqliteDatabase& db, const dc::GetErrorGroupQuery& query) {
  const PlantLine line = LineOf(db, query);
  auto rows = db.Prepare(
      "SELECT g.id, g.name, i.rowid, i.code_from, i.code_to FROM error_group g"
      " LEFT JOIN error_group_item i ON i.error_group_id = g.id WHERE g.line_id = ?1 ORDER BY "
      "g.id, i.rowid");
  rows.BindAll(line.id);
  dc::ErrorGroupsContainer container;
  while (rows.Step()) {
    const std::string name = rows.Text(1);
    if (!Asked(query.names(), name)) continue;
    if (container.values_size() == 0 || container.values().rbegin()->id() != rows.Int(0)) {
      dc::ErrorGroup& group = *container.add_values();
      group.set_id(static_cast<std::int32_t>(rows.Int(0)));
      group.set_name(name);
    }
    if (rows.IsNull(2)) continue;
    dc::ErrorGroupItem& item = *container.mutable_values()->rbegin()->add_items();
    item.set_id(static_cast<std::int32_t>(rows.Int(2)));
    item.set_startid(static_cast<std::int32_t>(rows.Int(3)));
    item.set_endid(static_cast<std::int32_t>(rows.Int(4)));
  }
  return container;
}

dc::ReferenceUnitContainer ReferenceUnits(SqliteDatabase& db,
                                          const dc::GetReferenceUnitQuery& query) {
  const PlantLine line = LineOf(db, query);
  auto rows = db.Prepare("SELECT name, kind FROM reference_unit WHERE line_id = ?1 ORDER BY name");
  rows.BindAll(line.id);
  dc::ReferenceUnitContainer container;
  while (rows.Step()) {
    const std::string name = rows.Text(0);
    if (!Asked(query.names(), name)) continue;
    dc::ReferenceUnit& unit = *container.add_values();
    unit.set_name(name);
    unit.set_type(static_cast<en::ReferenceUnitType>(rows.Int(1)));
  }
  return container;
}

/// Adds the counts per bench of `line`'s tests that `query` selects to `container`.
void AddLineCounts(SqliteDatabase& db, const PlantLine& line, const pb::Message& query,
                   dc::LineResultCountContainer& container) {
  std::map<std::string, dc::LineResultCountData> benches;
  for (const TestRow& test : SelectTests(db, line, ReadSelection(query))) {
    dc::LineResultCountData& data = benches[test.header.bench()];
    data.set_line(line.name);
    data.set_benchname(test.header.bench());
    data.set_allunits(data.allunits() + 1);
    if (test.header.resultid() == 1) {
      data.set_goodunits(data.goodunits() + 1);
    } else {
      data.set_badunits(data.badunits() + 1);
    }
  }
  auto ids = db.Prepare("SELECT id FROM bench WHERE line_id = ?1 AND name = ?2");
  for (auto& [name, data] : benches) {
    ids.BindAll(line.id, name);
    if (ids.Step()) data.set_benchid(static_cast<std::int32_t>(ids.Int(0)));
    ids.Reset();
    *container.add_values() = std::move(data);
  }
}

dc::LineResultCountContainer FactoryResultCounts(SqliteDatabase& db,
                                                 const dc::FactoryResultCountQuery& query) {
  dc::LineResultCountContainer container;
  for (const std::string& line : query.lines())
    AddLineCounts(db, FindLine(db, query.factory(), line), query, container);
  return container;
}

dc::ProtocolCrossReferenceStore CrossReferences(SqliteDatabase& db,
                                                const dc::ProtocolCrossReferenceQuery& query) {
  LineOf(db, query);
  auto id = db.Prepare("SELECT id FROM name_table WHERE table_name = ?1 AND name = ?2");
  const auto idOf = [&id](const char* table, const std::string& name) {
    id.BindAll(std::string(table), name);
    const auto found = id.Step() ? static_cast<std::int32_t>(id.Int(0)) : 0;
    id.Reset();
    return found;
  };
  dc::ProtocolCrossReferenceStore store;
  store.set_factory(query.factory());
  store.set_line(query.line());
  for (const QuantityInfo& quantity : PlantQuantities()) {
    dc::ProtocolCrossReferenceData& entry = *store.add_entries();
    entry.set_pkident(quantity.id);
    entry.set_fkinstrument(idOf("Instrument", quantity.instrument));
    entry.set_fkparameter(idOf("Parameter", quantity.parameter));
    entry.set_fkmode(idOf("Mode", quantity.mode));
    entry.set_fklocation(idOf("Location", quantity.location));
    entry.set_fkinstance(idOf("Instance", quantity.channel));
  }
  return store;
}

/// The share of the plant file that a line's tests take, in megabytes.
dc::ResultDbSize SizeOf(SqliteDatabase& db, const PlantLine& line) {
  const double bytes = static_cast<double>(db.QueryInt("PRAGMA page_count").value_or(0) *
                                           db.QueryInt("PRAGMA page_size").value_or(0));
  auto share = db.Prepare(
      "SELECT (SELECT COUNT(*) FROM test WHERE line_id = ?1) * 1.0 / MAX(1, (SELECT COUNT(*) FROM "
      "test))");
  share.BindAll(line.id);
  share.Step();
  dc::ResultDbSize size;
  size.set_servername("vrex-stub");
  size.set_databasename(line.factory + "/" + line.name);
  size.set_databasesize(static_cast<float>(bytes * share.Real(0) / 1e6));
  return size;
}

dc::ResultDbSizeContainer Sizes(SqliteDatabase& db, const dc::ResultDbSizesQuery& query) {
  dc::ResultDbSizeContainer container;
  for (const dc::Factory& factory : query.factories()) {
    for (const dc::Line& line : factory.lines()) {
      *container.add_values() = SizeOf(db, FindLine(db, factory.name(), line.name()));
    }
  }
  return container;
}

dc::StoreTokenCommand Tokens(SqliteDatabase& db) {
  auto token = db.Prepare("SELECT value FROM token WHERE name = 'licence'");
  dc::StoreTokenCommand answer;
  if (token.Step()) answer.set_token(token.Text(0));
  return answer;
}

std::map<std::string, PlantHandler, std::less<>> MakeHandlers() {
  std::map<std::string, PlantHandler, std::less<>> handlers = {
      {"ApiVersionQuery",
       Answering<dc::ApiVersionQuery>([](SqliteDatabase& db, const auto&) { return Version(db); })},
      {"SimpleTopologyQuery", Answering<dc::SimpleTopologyQuery>(
                                  [](SqliteDatabase& db, const auto&) { return Topology(db); })},
      {"GeneralInformationQuery",
       AnsweringBytes<dc::GeneralInformationQuery>([](SqliteDatabase& db, const auto& q) {
         return SerializedHeaders(db, LineOf(db, q), ReadSelection(q));
       })},
      {"GeneralInformationByIdQuery",
       Answering<dc::GeneralInformationByIdQuery>([](SqliteDatabase& db, const auto& q) {
         return Headers(TestsById(db, LineOf(db, q), q.identifier()));
       })},
      {"MeasurementQuery",
       AnsweringBytes<dc::MeasurementQuery>([](SqliteDatabase& db, const auto& q) {
         return SerializedMeasurements(db, SelectTests(db, LineOf(db, q), ReadSelection(q)),
                                       q.has_clavis() ? &q.clavis() : nullptr);
       })},
      {"MeasurementByIdQuery",
       AnsweringBytes<dc::MeasurementByIdQuery>([](SqliteDatabase& db, const auto& q) {
         return SerializedMeasurements(db, TestsById(db, LineOf(db, q), q.identifier()),
                                       q.has_clavis() ? &q.clavis() : nullptr);
       })},
      {"MeasurementValueIndexQuery",
       Answering<dc::MeasurementValueIndexQuery>([](SqliteDatabase& db, const auto& q) {
         return ValueIndexes(SelectTests(db, LineOf(db, q), ReadSelection(q)),
                             q.has_clavis() ? &q.clavis() : nullptr);
       })},
      {"MeasurementValueIndexByIdQuery",
       Answering<dc::MeasurementValueIndexByIdQuery>([](SqliteDatabase& db, const auto& q) {
         return ValueIndexes(TestsById(db, LineOf(db, q), q.identifier()),
                             q.has_clavis() ? &q.clavis() : nullptr);
       })},
      {"MeasurementInformationFromFileQuery",
       Answering<dc::MeasurementInformationFromFileQuery>(FromFile)},
      {"DefectReportQuery", Answering<dc::DefectReportQuery>([](SqliteDatabase& db, const auto& q) {
         return Defects(db, SelectTests(db, LineOf(db, q), ReadSelection(q)));
       })},
      {"DefectReportByIdQuery",
       Answering<dc::DefectReportByIdQuery>([](SqliteDatabase& db, const auto& q) {
         return Defects(db, TestsById(db, LineOf(db, q), q.identifier()));
       })},
      {"GetShiftQuery", Answering<dc::GetShiftQuery>(ShiftPlan)},
      {"MeasurementInformationQuery",
       Answering<dc::MeasurementInformationQuery>([](SqliteDatabase& db, const auto& q) {
         return Informations(db, SelectTests(db, LineOf(db, q), ReadSelection(q)));
       })},
      {"VectorTrackOfMeasurementsQuery",
       Answering<dc::VectorTrackOfMeasurementsQuery>([](SqliteDatabase& db, const auto& q) {
         return VectorsOf(db, SelectTests(db, LineOf(db, q), ReadSelection(q)), q.clavis());
       })},
      {"VectorTrackOfMeasurementsByIdQuery",
       Answering<dc::VectorTrackOfMeasurementsByIdQuery>([](SqliteDatabase& db, const auto& q) {
         return VectorsOf(db, TestsById(db, LineOf(db, q), q.identifier()), q.clavis());
       })},
      {"ResultCountQuery", Answering<dc::ResultCountQuery>(ResultCounts)},
      {"ResultDbIdNameTablesQuery", Answering<dc::ResultDbIdNameTablesQuery>(NameTables)},
      {"GetErrorGroupQuery", Answering<dc::GetErrorGroupQuery>(ErrorGroups)},
      {"GetReferenceUnitQuery", Answering<dc::GetReferenceUnitQuery>(ReferenceUnits)},
      {"LineResultCountQuery",
       Answering<dc::LineResultCountQuery>([](SqliteDatabase& db, const auto& q) {
         dc::LineResultCountContainer container;
         AddLineCounts(db, LineOf(db, q), q, container);
         return container;
       })},
      {"FactoryResultCountQuery", Answering<dc::FactoryResultCountQuery>(FactoryResultCounts)},
      {"ProtocolCrossReferenceQuery", Answering<dc::ProtocolCrossReferenceQuery>(CrossReferences)},
      {"ResultDbSizeQuery", Answering<dc::ResultDbSizeQuery>([](SqliteDatabase& db, const auto& q) {
         dc::ResultDbSizeContainer container;
         *container.add_values() = SizeOf(db, LineOf(db, q));
         return container;
       })},
      {"ResultDbSizesQuery", Answering<dc::ResultDbSizesQuery>(Sizes)},
      {"GetTokensQuery",
       Answering<dc::GetTokensQuery>([](SqliteDatabase& db, const auto&) { return Tokens(db); })},
  };
  AddCommandHandlers(handlers);
  AddReportHandlers(handlers);
  AddHistoryHandlers(handlers);
  AddAdministrationHandlers(handlers);
  return handlers;
}

}  // namespace

const PlantHandler* FindPlantHandler(std::string_view requestType) {
  static const auto handlers = MakeHandlers();
  const auto found = handlers.find(requestType);
  return found == handlers.end() ? nullptr : &found->second;
}

}  // namespace vrex::stub::plant
