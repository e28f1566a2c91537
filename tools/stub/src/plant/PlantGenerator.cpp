#include "plant/PlantGenerator.h"

#include <unistd.h>

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "plant/DaylightSaving.h"
#include "plant/PlantRandom.h"
#include "plant/PlantSchema.h"
#include "plant/Sqlite.h"
#include "plant/TestValues.h"

namespace vrex::stub::plant {

namespace fs = std::filesystem;

namespace {

struct Zone {
  const char* iana;
  const char* windows;
  int offsetMinutes;
  bool daylightSaving;
};
struct LineDefinition {
  const char* factory;
  const char* name;
  Zone zone;
  Zone benchZone;
  int benches;
  std::vector<int> types;  // unit_type ids the line builds
};

const Zone kBerlin{"Europe/Berlin", "W. Europe Standard Time", 60, true};
const Zone kChicago{"America/Chicago", "Central Standard Time", -360, true};
const Zone kUtc{"Etc/UTC", "UTC", 0, false};
const Zone kShanghai{"Asia/Shanghai", "China Standard Time", 480, false};

const std::vector<LineDefinition>& Lines() {
  static const std::vector<LineDefinition> lines = {
      {"Plant-North", "Line-A", kBerlin, kBerlin, 3, {1, 2, 3}},
      {"Plant-North", "Line-B", kBerlin, kBerlin, 2, {1, 2}},
      {"Plant-South", "Line-C", kChicago, kUtc, 2, {3, 4}},
      {"Plant-East", "Line-D", kShanghai, kShanghai, 2, {1, 4}},
  };
  return lines;
}

struct ShiftDefinition {
  const char* name;
  std::vector<std::pair<int, int>> items;  // start and end minute of the day
  std::vector<const char*> operators;
};
const std::vector<ShiftDefinition>& Shifts() {
  static const std::vector<ShiftDefinition> shifts = {
      {"Early", {{360, 840}}, {"M. Weber", "A. Novak"}},
      {"Late", {{840, 1320}}, {"J. Schmidt", "L. Rossi"}},
      {"Night", {{1320, 1440}, {0, 360}}, {"K. Yilmaz"}},
  };
  return shifts;
}
constexpr const char* kEveryDay = "1,2,3,4,5,6,7";

enum TestKind { kEndOfLine = 1, kRetest = 2, kReferenceTest = 3 };
enum ResultKind { kOk = 1, kFailed = 2 };
constexpr int kReferenceEvery = 97;  // a reference unit is tested once in so many tests
constexpr int kUnitsPerOrder = 60;   // units of one production order (one type)
constexpr std::int64_t kBytesPerTest = 48 * 1024;

void WriteStaticTables(SqliteDatabase& db, const GeneratorOptions& options) {
  auto info = db.Prepare("INSERT INTO plant_info VALUES (?1, ?2)");
  for (const auto& [key, value] : std::vector<std::pair<std::string, std::string>>{
           {"schema_version", std::to_string(kPlantSchemaVersion)},
           {"seed", std::to_string(options.seed)},
           {"tests", std::to_string(options.tests)},
           {"days", std::to_string(options.days)},
           {"generated_at", std::to_string(options.now)},
           {"api_version", "4.2.1"}}) {
    info.BindAll(key, value).Run();
    info.Reset();
  }
  db.Execute(
      "INSERT INTO base_type VALUES (1, 'GX-200'), (2, 'GX-300');"
      "INSERT INTO unit_type VALUES (1, 'GX-200-4M', 1), (2, 'GX-200-6M', 1),"
      " (3, 'GX-300-4M', 2), (4, 'GX-300-6M', 2);"
      "INSERT INTO test_kind VALUES (1, 'End-of-line test'), (2, 'Retest'), (3, 'Reference test');"
      "INSERT INTO result_kind VALUES (1, 'OK'), (2, 'NOK');");
  auto quantity =
      db.Prepare("INSERT INTO quantity VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11)");
  std::map<std::string, std::set<std::string>> names;
  for (const QuantityInfo& q : PlantQuantities()) {
    quantity
        .BindAll(std::int64_t{q.id}, q.mode, q.instrument, q.channel, q.location, q.parameter,
                 q.sensor, std::int64_t{q.dataType}, std::int64_t{q.errorCode}, q.errorText,
                 q.limitDescription)
        .Run();
    quantity.Reset();
    names["Mode"].insert(q.mode);
    names["Instrument"].insert(q.instrument);
    names["Location"].insert(q.location);
    names["Parameter"].insert(q.parameter);
    names["Instance"].insert(q.channel);
  }
  auto name = db.Prepare("INSERT INTO name_table VALUES (?1, ?2, ?3)");
  for (const auto& [table, entries] : names) {
    std::int64_t id = 0;
    for (const std::string& entry : entries) {
      name.BindAll(table, ++id, entry).Run();
      name.Reset();
    }
  }
}

/// Inserts a line with its benches, shifts, error groups and reference unit;
/// returns the bench ids.
std::vector<std::int64_t> WriteLine(SqliteDatabase& db, std::int64_t lineId,
                                    const LineDefinition& line) {
  db.Prepare("INSERT OR IGNORE INTO factory (name) VALUES (?1)")
      .BindAll(std::string(line.factory))
      .Run();
  auto insert = db.Prepare(
      "INSERT INTO line VALUES (?1, (SELECT id FROM factory WHERE name = ?2), ?3, ?4, ?5, ?6, ?7,"
      " ?8, ?9, ?10, ?11)");
  insert.Bind(1, lineId)
      .Bind(2, std::string_view(line.factory))
      .Bind(3, std::string_view(line.name));
  insert.Bind(4, std::string_view(line.zone.iana)).Bind(5, std::string_view(line.zone.windows));
  insert.Bind(6, std::int64_t{line.zone.offsetMinutes})
      .Bind(7, std::int64_t{line.zone.daylightSaving});
  insert.Bind(8, std::string_view(line.benchZone.iana))
      .Bind(9, std::string_view(line.benchZone.windows));
  insert.Bind(10, std::int64_t{line.benchZone.offsetMinutes});
  insert.Bind(11, std::int64_t{line.benchZone.daylightSaving});
  insert.Run();
  std::vector<std::int64_t> benches;
  auto bench = db.Prepare("INSERT INTO bench (line_id, name) VALUES (?1, ?2)");
  for (int b = 1; b <= line.benches; ++b) {
    bench.BindAll(lineId, "Bench-" + std::to_string(b)).Run();
    bench.Reset();
    benches.push_back(db.LastInsertId());
  }
  auto shift = db.Prepare("INSERT INTO shift (line_id, name) VALUES (?1, ?2)");
  auto item = db.Prepare(
      "INSERT INTO shift_item (shift_id, start_minute, end_minute, day, weekdays)"
      " VALUES (?1, ?2, ?3, 0, ?4)");
  for (const ShiftDefinition& definition : Shifts()) {
    shift.BindAll(lineId, std::string(definition.name)).Run();
    shift.Reset();
    const std::int64_t shiftId = db.LastInsertId();
    for (const auto& [start, end] : definition.items) {
      item.BindAll(shiftId, std::int64_t{start}, std::int64_t{end}, std::string(kEveryDay)).Run();
      item.Reset();
    }
  }
  auto group = db.Prepare("INSERT INTO error_group (line_id, name) VALUES (?1, ?2)");
  auto range = db.Prepare("INSERT INTO error_group_item VALUES (?1, ?2, ?2)");
  for (const auto& [name, codes] : std::vector<std::pair<std::string, std::vector<std::int64_t>>>{
           {"Noise", {1001, 1003, 1005}}, {"Vibration", {1002, 1004}}}) {
    group.BindAll(lineId, name).Run();
    group.Reset();
    const std::int64_t groupId = db.LastInsertId();
    for (std::int64_t code : codes) {
      range.BindAll(groupId, code).Run();
      range.Reset();
    }
  }
  db.Prepare("INSERT INTO reference_unit VALUES (?1, ?2, 0)")
      .BindAll(lineId, "REF-" + std::string(line.name).substr(5) + "-01")
      .Run();
  return benches;
}

struct Unit {
  std::string serial;
  std::int64_t type;
  int tests = 0;
  std::int64_t firstTime = 0;
};

struct Test {
  std::int64_t id, time, type, bench, result, kind, ordinal, firstTime;
  std::string serial, operatorName, productionOrder;
  std::uint64_t seed;
  std::size_t unit;
  std::vector<Exceedance> exceedances;
};

struct Retest {
  std::size_t unit;
  std::int64_t due;
};

const char* OperatorAt(std::int64_t time, const Zone& zone, PlantRandom& random) {
  const int offsetMinutes =
      UtcOffsetMinutesAt(zone.iana, zone.offsetMinutes, zone.daylightSaving, time);
  const std::int64_t minute = ((time / 60 + offsetMinutes) % 1440 + 1440) % 1440;
  for (const ShiftDefinition& shift : Shifts()) {
    for (const auto& [start, end] : shift.items) {
      if (minute >= start && minute < end) return random.Pick(shift.operators);
    }
  }
  return "nobody";
}

/// The tests of one line, oldest first, with identifiers from `firstId` on.
std::vector<Test> PlanTests(const LineDefinition& line, const std::vector<std::int64_t>& benches,
                            std::int64_t count, std::int64_t firstId,
                            const GeneratorOptions& options, PlantRandom& random) {
  const double failureRate = random.Between(0.04, 0.06);
  const std::int64_t span = std::int64_t{options.days} * 86400;
  const double interval =
      static_cast<double>(span) / static_cast<double>(std::max<std::int64_t>(count, 1));
  const std::int64_t start = options.now - span;
  const std::string letter = std::string(line.name).substr(5);
  std::vector<Unit> units{{"REF-" + letter + "-01", line.types.front()}};
  std::deque<Retest> retests;
  std::vector<Test> tests;
  std::int64_t previous = start - 1;
  std::int64_t type = line.types.front();
  std::string order;
  for (std::int64_t i = 0; i < count; ++i) {
    std::int64_t time = start + static_cast<std::int64_t>(
                                    (static_cast<double>(i) + random.Between(0.1, 0.9)) * interval);
    time = std::min(std::max(time, previous + 1), options.now);
    previous = time;
    std::size_t unitIndex;
    std::int64_t kind = kEndOfLine;
    if (!retests.empty() && retests.front().due <= time) {
      unitIndex = retests.front().unit;
      retests.pop_front();
      kind = kRetest;
    } else if (i % kReferenceEvery == kReferenceEvery / 2) {
      unitIndex = 0;
      kind = kReferenceTest;
    } else {
      if ((units.size() - 1) % kUnitsPerOrder == 0) {
        type = random.Pick(line.types);
        order = "PO-" + letter + std::to_string(80000 + units.size() / kUnitsPerOrder);
      }
      char serial[32];
      std::snprintf(serial, sizeof serial, "SN-%s-%07zu", letter.c_str(), 3140 + units.size());
      units.push_back({serial, type});
      unitIndex = units.size() - 1;
    }
    Unit& unit = units[unitIndex];
    if (unit.tests == 0) unit.firstTime = time;
    ++unit.tests;
    Test test{firstId + i,
              time,
              unit.type,
              random.Pick(benches),
              kOk,
              kind,
              unit.tests,
              unit.firstTime,
              unit.serial,
              OperatorAt(time, line.zone, random),
              order.empty() ? "PO-" + letter + "80000" : order,
              random.Next() >> 1,
              unitIndex,
              {}};
    const bool regular = kind != kReferenceTest;
    const double failing = kind == kRetest ? 0.3 : failureRate;
    if (regular && unit.tests <= 3 && random.Chance(failing)) {
      test.result = kFailed;
      test.exceedances.push_back(ChooseExceedance(test.seed, random.Next()));
      if (random.Chance(0.2)) {
        const Exceedance second = ChooseExceedance(test.seed, random.Next());
        if (second.quantityId != test.exceedances.front().quantityId)
          test.exceedances.push_back(second);
      }
      if (unit.tests < 3) {
        retests.push_back(
            {unitIndex, time + static_cast<std::int64_t>(random.Between(5, 40) * 60)});
      }
    }
    tests.push_back(std::move(test));
  }
  return tests;
}

void WriteTests(SqliteDatabase& db, std::int64_t lineId, const std::vector<Test>& tests) {
  std::map<std::size_t, std::int64_t> lastOfUnit;       // unit -> id of its newest test
  std::map<std::int64_t, std::int64_t> nextOnBench;     // test id -> time of the bench's next test
  std::map<std::int64_t, const Test*> previousOnBench;  // bench -> its newest test so far
  std::map<std::pair<std::int64_t, std::int64_t>, std::int64_t> testsOfBenchDay;
  for (const Test& test : tests) {
    lastOfUnit[test.unit] = test.id;
    if (const auto found = previousOnBench.find(test.bench); found != previousOnBench.end()) {
      nextOnBench[found->second->id] = test.time;
    }
    previousOnBench[test.bench] = &test;
  }
  auto insert = db.Prepare(
      "INSERT INTO test VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, 3, ?9, ?10, ?11, ?12, ?13, ?14, "
      "?15, ?16)");
  auto defect = db.Prepare(
      "INSERT INTO defect SELECT ?1, ?2, q.id, q.error_code, q.error_text, 2, ?3, ?4, ?5"
      " FROM quantity q WHERE q.id = ?6");
  for (const Test& test : tests) {
    const std::int64_t offset = kBytesPerTest * testsOfBenchDay[{test.bench, test.time / 86400}]++;
    insert.BindAll(test.id, lineId, test.time, test.serial, test.type, test.bench, test.result,
                   test.kind, test.ordinal, std::int64_t{lastOfUnit[test.unit] == test.id},
                   test.firstTime);
    const auto next = nextOnBench.find(test.id);
    if (next != nextOnBench.end()) {
      insert.Bind(12, next->second);
    } else {
      insert.BindNull(12);
    }
    insert.Bind(13, offset).Bind(14, test.operatorName).Bind(15, test.productionOrder);
    insert.Bind(16, static_cast<std::int64_t>(test.seed));  // below 2^63: a SQLite integer
    insert.Run();
    insert.Reset();
    std::int64_t nr = 0;
    for (const Exceedance& exceedance : test.exceedances) {
      defect
          .BindAll(test.id, ++nr, double{exceedance.value}, double{exceedance.limit},
                   double{exceedance.position}, std::int64_t{exceedance.quantityId})
          .Run();
      defect.Reset();
    }
  }
}

}  // namespace

void GeneratePlant(const fs::path& file, const GeneratorOptions& options) {
  // A name of its own, so that stubs generating the same file at once do not mix.
  const fs::path part = file.string() + "." + std::to_string(getpid()) + ".part";
  fs::remove(part);
  {
    SqliteDatabase db(part, SqliteDatabase::Mode::Create);
    db.Execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF");
    db.Execute(kPlantSchema);
    SqliteTransaction transaction(db);
    WriteStaticTables(db, options);
    PlantRandom random(options.seed);
    const auto& lines = Lines();
    const auto perLine = options.tests / static_cast<std::int64_t>(lines.size());
    std::int64_t nextId = 1001;
    for (std::size_t l = 0; l < lines.size(); ++l) {
      const auto lineId = static_cast<std::int64_t>(l + 1);
      const auto benches = WriteLine(db, lineId, lines[l]);
      const std::int64_t count =
          perLine + (l < static_cast<std::size_t>(options.tests) % lines.size() ? 1 : 0);
      WriteTests(db, lineId, PlanTests(lines[l], benches, count, nextId, options, random));
      nextId += count;
    }
    // Each line's results lie in a result database of its own, at the plant's version.
    db.Execute(
        "INSERT INTO result_database SELECT l.id, f.name || '_' || l.name, NULL,"
        " (SELECT value FROM plant_info WHERE key = 'api_version') FROM line l"
        " JOIN factory f ON f.id = l.factory_id");
    db.Prepare("INSERT INTO log_entry (time, level, source, text) VALUES (?1, 2, 'generator', ?2)")
        .BindAll(options.now, "plant generated with seed " + std::to_string(options.seed))
        .Run();
    transaction.Commit();
  }
  fs::rename(part, file);
}

}  // namespace vrex::stub::plant
