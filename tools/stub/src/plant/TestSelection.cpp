#include "plant/TestSelection.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/wire_format_lite.h>
#include <sqlite3.h>

#include <cstdlib>
#include <ctime>
#include <set>
#include <type_traits>
#include <unordered_map>
#include <variant>

#include "GeneralInformationContainer.pb.h"
#include "vrex/data/Time.h"

namespace vrex::stub::plant {

namespace {

namespace pb = google::protobuf;
namespace en = Korvan::KQ::DataContracts::Enumerator;

// The joined tables serve the filters only: SQLite leaves out a LEFT JOIN
// whose columns a query does not use, and the names come from TestNames.
constexpr const char* kHeaderColumns =
    "SELECT t.id, t.time, t.serial, t.type_id, t.bench_id, t.result_id, t.property_id,"
    " t.test_kind_id, t.ordinal, t.this_last, t.file_offset, t.operator, t.production_order,"
    " t.next_time, t.seed FROM test t"
    " LEFT JOIN unit_type ut ON ut.id = t.type_id"
    // Not by ut.base_type_id, which would keep the join of ut in every query.
    " LEFT JOIN base_type bt ON bt.id = (SELECT base_type_id FROM unit_type WHERE id = t.type_id)"
    " LEFT JOIN bench b ON b.id = t.bench_id LEFT JOIN test_kind k ON k.id = t.test_kind_id";

// The type under which a query's PlantLine is bound for plant_shift.
constexpr const char* kLinePointer = "PlantLine";

/// A test's row as read, its names still identifiers.
struct TestRecord {
  std::int64_t id, time, typeId, benchId, resultId, propertyId, testKindId, ordinal, fileOffset;
  bool thisLast;
  std::string serial, operatorName, productionOrder;
  std::optional<std::int64_t> nextTime;
  std::uint64_t seed;
};

TestRecord ReadRecord(const SqliteStatement& row) {
  return {row.Int(0),
          row.Int(1),
          row.Int(3),
          row.Int(4),
          row.Int(5),
          row.Int(6),
          row.Int(7),
          row.Int(8),
          row.Int(10),
          row.Int(9) != 0,
          row.Text(2),
          row.Text(11),
          row.Text(12),
          row.IsNull(13) ? std::nullopt : std::optional(row.Int(13)),
          static_cast<std::uint64_t>(row.Int(14))};
}

/// The names of types, base types, benches, results and test kinds by
/// identifier: a few rows, read once per query instead of joined to each test.
class TestNames {
 public:
  explicit TestNames(SqliteDatabase& db) {
    Read(db,
         "SELECT ut.id, ut.name, bt.name FROM unit_type ut JOIN base_type bt"
         " ON bt.id = ut.base_type_id",
         types_, &baseTypes_);
    Read(db, "SELECT id, name FROM bench", benches_);
    Read(db, "SELECT id, name FROM result_kind", results_);
    Read(db, "SELECT id, name FROM test_kind", testKinds_);
  }
  const std::string& Type(std::int64_t id) const { return Of(types_, id); }
  const std::string& BaseType(std::int64_t id) const { return Of(baseTypes_, id); }
  const std::string& Bench(std::int64_t id) const { return Of(benches_, id); }
  const std::string& Result(std::int64_t id) const { return Of(results_, id); }
  const std::string& TestKind(std::int64_t id) const { return Of(testKinds_, id); }

 private:
  using Names = std::unordered_map<std::int64_t, std::string>;
  static void Read(SqliteDatabase& db, const char* sql, Names& names, Names* second = nullptr) {
    auto rows = db.Prepare(sql);
    while (rows.Step()) {
      names[rows.Int(0)] = rows.Text(1);
      if (second != nullptr) (*second)[rows.Int(0)] = rows.Text(2);
    }
  }
  static const std::string& Of(const Names& names, std::int64_t id) {
    static const std::string none;
    const auto found = names.find(id);
    return found == names.end() ? none : found->second;
  }
  Names types_, baseTypes_, benches_, results_, testKinds_;
};

/// The archive file path of a test: `YYYY/MM/DD/<bench>_YYYYMMDD.kqa` of its
/// UTC day. Tests come in time order, so the day's text is kept.
class FilePaths {
 public:
  std::string Of(std::int64_t time, const std::string& bench) {
    const std::int64_t day = time >= 0 ? time / 86400 : (time - 86399) / 86400;
    if (day != day_ || folder_.empty()) {
      const std::time_t seconds = time;
      std::tm utc{};
      gmtime_r(&seconds, &utc);
      char folder[32];
      std::strftime(folder, sizeof folder, "%Y/%m/%d/", &utc);
      char stamp[16];
      std::strftime(stamp, sizeof stamp, "%Y%m%d", &utc);
      day_ = day;
      folder_ = folder;
      stamp_ = std::string("_") + stamp + ".kqa";
    }
    return folder_ + bench + stamp_;
  }

 private:
  std::int64_t day_ = 0;
  std::string folder_, stamp_;
};

/// Sets every field of `header`, so that one message can serve a whole answer.
void FillHeader(const TestRecord& test, const TestNames& names, FilePaths& paths,
                dc::GeneralInformation& header) {
  header.set_pkident(static_cast<std::int32_t>(test.id));
  *header.mutable_measurementtime() = UtcTime(test.time);
  header.set_serial(test.serial);
  header.set_type(names.Type(test.typeId));
  header.set_basetype(names.BaseType(test.typeId));
  header.set_bench(names.Bench(test.benchId));
  header.set_result(names.Result(test.resultId));
  header.set_resultid(static_cast<std::int32_t>(test.resultId));
  header.set_propertyid(static_cast<std::int32_t>(test.propertyId));
  header.set_testkindid(static_cast<std::int32_t>(test.testKindId));
  header.set_testkind(names.TestKind(test.testKindId));
  header.set_ordinal(static_cast<std::int32_t>(test.ordinal));
  header.set_thislast(test.thisLast);
  header.set_fileoffset(static_cast<std::int32_t>(test.fileOffset));
  header.set_relativefilepath(paths.Of(test.time, header.bench()));
  (*header.mutable_additionalinfo())["Operator"] = test.operatorName;
  (*header.mutable_additionalinfo())["ProductionOrder"] = test.productionOrder;
  if (test.nextTime) {
    *header.mutable_timeofnextmeasurement() = UtcTime(*test.nextTime);
  } else {
    header.clear_timeofnextmeasurement();
  }
}

/// The tests as TestRows, in the given order.
std::vector<TestRow> RowsOf(SqliteDatabase& db, const std::vector<TestRecord>& records) {
  const TestNames names(db);
  FilePaths paths;
  std::vector<TestRow> tests(records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    FillHeader(records[i], names, paths, tests[i].header);
    tests[i].seed = records[i].seed;
  }
  return tests;
}

/// A WHERE clause with its parameters, bound in order.
class Conditions {
 public:
  void Add(std::string condition) { sql_ += " AND (" + std::move(condition) + ")"; }
  std::string Parameter(std::int64_t value) {
    parameters_.emplace_back(value);
    return "?" + std::to_string(parameters_.size());
  }
  std::string Parameter(std::string value) {
    parameters_.emplace_back(std::move(value));
    return "?" + std::to_string(parameters_.size());
  }
  std::string Parameter(const PlantLine* line) {
    parameters_.emplace_back(line);
    return "?" + std::to_string(parameters_.size());
  }
  /// "column IN (?, ?)" over the items, or over their numbers with `numbers`
  /// (an item that is no number matches nothing); NOT with `exclude`.
  template <typename Items>
  void AddList(const std::string& column, const Items& items, bool numbers, bool exclude) {
    std::string list;
    for (const std::string& item : items) {
      if (numbers) {
        char* end = nullptr;
        const long long number = std::strtoll(item.c_str(), &end, 10);
        if (item.empty() || *end != '\0') continue;
        list += (list.empty() ? "" : ", ") + Parameter(std::int64_t{number});
      } else {
        list += (list.empty() ? "" : ", ") + Parameter(item);
      }
    }
    Add(std::string(exclude ? "NOT " : "") + column + " IN (" + list + ")");
  }
  const std::string& Sql() const { return sql_; }
  void Bind(SqliteStatement& statement) const {
    int index = 0;
    for (const auto& parameter : parameters_) {
      std::visit(
          [&](const auto& value) {
            if constexpr (std::is_same_v<std::decay_t<decltype(value)>, const PlantLine*>) {
              statement.BindPointer(++index, value, kLinePointer);
            } else {
              statement.Bind(++index, value);
            }
          },
          parameter);
    }
  }

 private:
  std::string sql_;
  std::vector<std::variant<std::int64_t, std::string, const PlantLine*>> parameters_;
};

std::int64_t SecondsOf(const bcl::DateTime& time, bool upper) {
  const auto instant = vrex::data::ToInstant(time);
  if (!instant || instant->extreme != vrex::data::Extreme::None) {
    return upper ? INT64_MAX : INT64_MIN;
  }
  const auto ticks = instant->time.time_since_epoch().count();
  // Whole seconds that lie within the bound.
  const std::int64_t perSecond = 10'000'000;
  const std::int64_t floor =
      ticks >= 0 ? ticks / perSecond : -((-ticks + perSecond - 1) / perSecond);
  return upper ? floor : (ticks % perSecond == 0 ? floor : floor + 1);
}

void AddTime(Conditions& where, const dc::TimeFilter& time) {
  if (time.has_from()) where.Add("t.time >= " + where.Parameter(SecondsOf(time.from(), false)));
  if (time.has_until()) where.Add("t.time <= " + where.Parameter(SecondsOf(time.until(), true)));
}

void AddRepetition(Conditions& where, const dc::TestRepetitionFilter& filter) {
  switch (filter.testrepetition()) {
    case en::FirstTest:
      where.Add("t.ordinal = 1");
      break;
    case en::LastTest:
      where.Add("t.this_last = 1");
      break;
    case en::CurrentRejects:
      where.Add("t.this_last = 1 AND t.result_id <> 1");
      break;
    case en::DirectTest:
      where.Add("t.ordinal = 1 AND t.this_last = 1");
      break;
    case en::NTests:
      if (filter.has_nrofrepetitions()) {
        where.Add("t.ordinal <= " + where.Parameter(std::int64_t{filter.nrofrepetitions()}));
      }
      break;
    default:
      break;
  }
  if (filter.has_minordinal())
    where.Add("t.ordinal >= " + where.Parameter(std::int64_t{filter.minordinal()}));
  if (filter.has_maxordinal())
    where.Add("t.ordinal <= " + where.Parameter(std::int64_t{filter.maxordinal()}));
  if (filter.has_maxrepetitions()) {
    where.Add("t.ordinal <= 1 + " + where.Parameter(std::int64_t{filter.maxrepetitions()}));
  }
  if (filter.has_maxminutes()) {
    where.Add("t.time - t.first_time <= 60 * " +
              where.Parameter(std::int64_t{filter.maxminutes()}));
  }
}

void AddSerial(Conditions& where, const dc::SerialNumberFilter& filter) {
  if (!filter.parsenumber()) {
    where.AddList("t.serial", filter.items(), false, filter.exclude());
    return;
  }
  // SQL counts characters from 1, the filter from 0.
  std::string part = "substr(t.serial, 1 + " + where.Parameter(std::int64_t{filter.parsestart()});
  if (filter.has_parselength()) part += ", " + where.Parameter(std::int64_t{filter.parselength()});
  part += ")";
  where.Add("plant_is_number(" + part + ")");
  where.AddList("CAST(" + part + " AS INTEGER)", filter.items(), true, filter.exclude());
}

void AddReferenceUnits(Conditions& where, const PlantLine& line,
                       const dc::ReferenceUnitFilter& filter) {
  const std::string lineId = where.Parameter(line.id);
  const std::string bySerial =
      "t.serial IN (SELECT name FROM reference_unit WHERE line_id = " + lineId + " AND kind = 0)";
  const std::string byType =
      "ut.name IN (SELECT name FROM reference_unit WHERE line_id = " + lineId + " AND kind = 1)";
  const std::string condition = filter.selectiontype() == en::BySerial ? bySerial
                                : filter.selectiontype() == en::ByType ? byType
                                                                       : bySerial + " OR " + byType;
  where.Add(std::string(filter.exclude() ? "NOT " : "") + "(" + condition + ")");
}

void AddAddInfo(Conditions& where, const dc::AddInfoFilter& filter) {
  std::vector<std::string> columns;
  const std::vector<std::pair<std::string, std::string>> keys = {
      {"Operator", "t.operator"}, {"ProductionOrder", "t.production_order"}};
  for (const auto& [key, column] : keys) {
    if (filter.keys().empty() ||
        std::find(filter.keys().begin(), filter.keys().end(), key) != filter.keys().end()) {
      columns.push_back(column);
    }
  }
  std::string any;
  for (const std::string& column : columns) {
    std::string match = "1";
    if (!filter.items().empty()) {
      match = column + " IN (";
      for (int i = 0; i < filter.items_size(); ++i)
        match += (i ? ", " : "") + where.Parameter(filter.items(i));
      match += ")";
    }
    any += (any.empty() ? "" : " OR ") + match;
  }
  where.Add(std::string(filter.exclude() ? "NOT " : "") + "(" + (any.empty() ? "0" : any) + ")");
}

void AddIdRanges(Conditions& where, const dc::IdRangeFilter& filter) {
  std::string included;
  for (const dc::IdRange& range : filter.ranges()) {
    const std::string between = "t.id BETWEEN " + where.Parameter(std::int64_t{range.min()}) +
                                " AND " + where.Parameter(std::int64_t{range.max()});
    if (range.exclude()) {
      where.Add("NOT " + between);
    } else {
      included += (included.empty() ? "" : " OR ") + between;
    }
  }
  if (!included.empty()) where.Add(included);
}

void IsNumber(sqlite3_context* context, int, sqlite3_value** values) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
  bool number = text != nullptr && *text != '\0';
  for (const char* c = text; number && *c != '\0'; ++c) number = *c >= '0' && *c <= '9';
  sqlite3_result_int(context, number ? 1 : 0);
}

/// plant_shift(time, line): the shift of `line` (a bound PlantLine) at `time`.
void ShiftOfTime(sqlite3_context* context, int, sqlite3_value** values) {
  const auto* line = static_cast<const PlantLine*>(sqlite3_value_pointer(values[1], kLinePointer));
  if (line == nullptr) {
    sqlite3_result_error(context, "plant_shift without its line", -1);
    return;
  }
  const std::string shift = ShiftAt(*line, sqlite3_value_int64(values[0]));
  sqlite3_result_text(context, shift.c_str(), static_cast<int>(shift.size()), SQLITE_TRANSIENT);
}

void DefineFunctions(SqliteDatabase& db) {
  db.DefineFunction("plant_shift", 2, ShiftOfTime);
  db.DefineFunction("plant_is_number", 1, IsNumber);
}

Conditions WhereOf(const PlantLine& line, const Selection& s) {
  Conditions where;
  where.Add("t.line_id = " + where.Parameter(line.id));
  if (s.time) AddTime(where, *s.time);
  if (s.repetition) AddRepetition(where, *s.repetition);
  if (s.baseType)
    where.AddList(s.baseType->useids() ? "bt.id" : "bt.name", s.baseType->items(),
                  s.baseType->useids(), s.baseType->exclude());
  if (s.type)
    where.AddList(s.type->useids() ? "ut.id" : "ut.name", s.type->items(), s.type->useids(),
                  s.type->exclude());
  if (s.bench)
    where.AddList(s.bench->useids() ? "b.id" : "b.name", s.bench->items(), s.bench->useids(),
                  s.bench->exclude());
  if (s.serial) AddSerial(where, *s.serial);
  if (s.testKind)
    where.AddList(s.testKind->useids() ? "k.id" : "k.name", s.testKind->items(),
                  s.testKind->useids(), s.testKind->exclude());
  if (s.shift) {
    where.AddList("plant_shift(t.time, " + where.Parameter(&line) + ")", s.shift->items(), false,
                  s.shift->exclude());
  }
  if (s.referenceUnit) AddReferenceUnits(where, line, *s.referenceUnit);
  if (s.addInfo) AddAddInfo(where, *s.addInfo);
  if (s.idRange) AddIdRanges(where, *s.idRange);
  return where;
}

}  // namespace

bcl::DateTime UtcTime(std::int64_t count, bcl::DateTime_TimeSpanScale scale) {
  bcl::DateTime time;
  time.set_value(count);
  time.set_scale(scale);
  time.set_kind(bcl::DateTime_DateTimeKind_UTC);
  return time;
}

Selection ReadSelection(const pb::Message& request) {
  Selection s;
  TakeFilter(request, "Time", s.time);
  TakeFilter(request, "LastN", s.lastN);
  TakeFilter(request, "TestRepetition", s.repetition);
  TakeFilter(request, "BaseType", s.baseType);
  TakeFilter(request, "Type", s.type);
  TakeFilter(request, "Bench", s.bench);
  TakeFilter(request, "SerialNumber", s.serial);
  TakeFilter(request, "TestKind", s.testKind);
  TakeFilter(request, "ShiftOffset", s.shift);
  TakeFilter(request, "ReferenceUnit", s.referenceUnit);
  TakeFilter(request, "AddInfo", s.addInfo);
  TakeFilter(request, "IdRange", s.idRange);
  return s;
}

namespace {

/// The records of the tests of `line` that `selection` selects, oldest first.
std::vector<TestRecord> SelectRecords(SqliteDatabase& db, const PlantLine& line,
                                      const Selection& selection) {
  DefineFunctions(db);
  const Conditions where = WhereOf(line, selection);
  const bool limited = selection.lastN && selection.lastN->topn() > 0;
  const bool first = limited && selection.lastN->topnfirst();
  std::string sql = std::string(kHeaderColumns) + " WHERE 1" + where.Sql() +
                    (first ? " ORDER BY t.time, t.id" : " ORDER BY t.time DESC, t.id DESC");
  if (limited) sql += " LIMIT " + std::to_string(selection.lastN->topn());
  SqliteStatement statement = db.Prepare(sql);
  where.Bind(statement);
  std::vector<TestRecord> tests;
  while (statement.Step()) tests.push_back(ReadRecord(statement));
  if (!first) std::reverse(tests.begin(), tests.end());
  return tests;
}

}  // namespace

std::vector<TestRow> SelectTests(SqliteDatabase& db, const PlantLine& line,
                                 const Selection& selection) {
  return RowsOf(db, SelectRecords(db, line, selection));
}

std::string SerializedHeaders(SqliteDatabase& db, const PlantLine& line,
                              const Selection& selection) {
  const std::vector<TestRecord> records = SelectRecords(db, line, selection);
  const TestNames names(db);
  FilePaths paths;
  // One header message, refilled per test and written at once: a day of a
  // busy line has thousands, and building them all first costs more than
  // reading them.
  dc::GeneralInformation header;
  std::string bytes;
  {
    pb::io::StringOutputStream output(&bytes);
    pb::io::CodedOutputStream coded(&output);
    coded.SetSerializationDeterministic(true);
    constexpr int kValuesField = dc::GeneralInformationContainer::kValuesFieldNumber;
    for (const TestRecord& test : records) {
      FillHeader(test, names, paths, header);
      coded.WriteTag(pb::internal::WireFormatLite::MakeTag(
          kValuesField, pb::internal::WireFormatLite::WIRETYPE_LENGTH_DELIMITED));
      coded.WriteVarint32(static_cast<std::uint32_t>(header.ByteSizeLong()));
      header.SerializeWithCachedSizes(&coded);
    }
  }  // the coded stream trims the string when it goes out of scope
  return bytes;
}

std::vector<TestRow> TestsById(SqliteDatabase& db, const PlantLine& line,
                               const pb::RepeatedField<std::int32_t>& ids) {
  SqliteStatement statement =
      db.Prepare(std::string(kHeaderColumns) + " WHERE t.line_id = ?1 AND t.id = ?2");
  std::vector<TestRecord> tests;
  std::set<std::int32_t> seen;
  for (const std::int32_t id : ids) {
    if (!seen.insert(id).second) continue;
    statement.BindAll(line.id, std::int64_t{id});
    if (statement.Step()) tests.push_back(ReadRecord(statement));
    statement.Reset();
  }
  return RowsOf(db, tests);
}

TestDefects DefectsOf(SqliteDatabase& db, std::int32_t testId) {
  auto statement = db.Prepare(
      "SELECT d.error_code, d.error_text, d.nr, d.error_result, d.value, d.limit_value,"
      " d.position, q.id, q.mode, q.instrument, q.channel, q.location, q.parameter, q.sensor"
      " FROM defect d JOIN quantity q ON q.id = d.quantity_id WHERE d.test_id = ?1 ORDER BY d.nr");
  statement.BindAll(std::int64_t{testId});
  TestDefects defects;
  while (statement.Step()) {
    dc::Defect& defect = *defects.report.add_defects();
    defect.set_errorcode(static_cast<std::int32_t>(statement.Int(0)));
    defect.set_errortext(statement.Text(1));
    defect.set_errornr(static_cast<std::int32_t>(statement.Int(2)));
    defect.set_errorresult(static_cast<std::int32_t>(statement.Int(3)));
    defect.set_value(static_cast<float>(statement.Real(4)));
    defect.set_limit(static_cast<float>(statement.Real(5)));
    defect.set_position(static_cast<float>(statement.Real(6)));
    dc::Clavis& clavis = *defect.mutable_clavis();
    clavis.set_mode(statement.Text(8));
    clavis.set_instrument(statement.Text(9));
    clavis.set_channel(statement.Text(10));
    clavis.set_location(statement.Text(11));
    clavis.set_instrumentparameter(statement.Text(12));
    clavis.set_sensor(statement.Text(13));
    defects.exceedances.push_back(
        {static_cast<int>(statement.Int(7)), defect.position(), defect.value(), defect.limit()});
  }
  return defects;
}

}  // namespace vrex::stub::plant
