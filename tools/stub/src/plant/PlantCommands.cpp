#include "plant/PlantCommands.h"

#include <chrono>

#include "AddErrorGroupCommand.pb.h"
#include "AddLineCommand.pb.h"
#include "AddReferenceUnitCommand.pb.h"
#include "AddShiftCommand.pb.h"
#include "DeleteErrorGroupCommand.pb.h"
#include "DeleteReferenceUnitCommand.pb.h"
#include "DeleteShiftCommand.pb.h"
#include "LogEntryContainer.pb.h"
#include "LogEntryQuery.pb.h"
#include "ResultDbTruncateCommand.pb.h"
#include "StoreTokenCommand.pb.h"
#include "UpdateErrorGroupCommand.pb.h"
#include "UpdateShiftCommand.pb.h"
#include "plant/PlantLine.h"
#include "vrex/data/Time.h"

namespace vrex::stub::plant {

namespace {

namespace pb = google::protobuf;
namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

std::int64_t NowSeconds() {
  return std::chrono::duration_cast<std::chrono::seconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

std::string Weekdays(const dc::ShiftItem& item) {
  std::string days;
  for (int day : item.weekdays()) days += (days.empty() ? "" : ",") + std::to_string(day);
  return days;
}

void WriteShiftItems(SqliteDatabase& db, std::int64_t shiftId, const dc::Shift& shift) {
  db.Prepare("DELETE FROM shift_item WHERE shift_id = ?1").BindAll(shiftId).Run();
  auto insert = db.Prepare(
      "INSERT INTO shift_item (shift_id, start_minute, end_minute, day, weekdays) VALUES (?1, ?2, "
      "?3, ?4, ?5)");
  for (const dc::ShiftItem& item : shift.items()) {
    if (item.start() < 0 || item.start() > 1440 || item.end() < 0 || item.end() > 1440) {
      throw PlantRefusal(400,
                         "shift \"" + shift.name() + "\": minutes of the day run from 0 to 1440");
    }
    insert
        .BindAll(shiftId, std::int64_t{item.start()}, std::int64_t{item.end()},
                 std::int64_t{item.day()}, Weekdays(item))
        .Run();
    insert.Reset();
  }
}

std::optional<std::int64_t> IdByName(SqliteDatabase& db, const char* table, std::int64_t lineId,
                                     const std::string& name) {
  auto statement =
      db.Prepare(std::string("SELECT id FROM ") + table + " WHERE line_id = ?1 AND name = ?2");
  statement.BindAll(lineId, name);
  if (!statement.Step()) return std::nullopt;
  return statement.Int(0);
}

std::int64_t RequireId(SqliteDatabase& db, const char* table, const char* what, std::int64_t lineId,
                       const std::string& name) {
  const auto id = IdByName(db, table, lineId, name);
  if (!id) throw PlantRefusal(404, std::string("no ") + what + " \"" + name + "\"");
  return *id;
}

std::string AddShift(SqliteDatabase& db, const dc::AddShiftCommand& command) {
  const PlantLine line = LineOf(db, command);
  if (command.shift().name().empty()) throw PlantRefusal(400, "a shift needs a name");
  if (IdByName(db, "shift", line.id, command.shift().name())) {
    throw PlantRefusal(409, "shift \"" + command.shift().name() + "\" exists already");
  }
  db.Prepare("INSERT INTO shift (line_id, name) VALUES (?1, ?2)")
      .BindAll(line.id, command.shift().name())
      .Run();
  WriteShiftItems(db, db.LastInsertId(), command.shift());
  return "shift " + command.shift().name() + " added to " + line.name;
}

std::string UpdateShift(SqliteDatabase& db, const dc::UpdateShiftCommand& command) {
  const PlantLine line = LineOf(db, command);
  WriteShiftItems(db, RequireId(db, "shift", "shift", line.id, command.shift().name()),
                  command.shift());
  return "shift " + command.shift().name() + " of " + line.name + " updated";
}

std::string DeleteShift(SqliteDatabase& db, const dc::DeleteShiftCommand& command) {
  const PlantLine line = LineOf(db, command);
  db.Prepare("DELETE FROM shift WHERE id = ?1")
      .BindAll(RequireId(db, "shift", "shift", line.id, command.name()))
      .Run();
  return "shift " + command.name() + " deleted from " + line.name;
}

void WriteGroupItems(SqliteDatabase& db, std::int64_t groupId, const dc::ErrorGroup& group) {
  db.Prepare("DELETE FROM error_group_item WHERE error_group_id = ?1").BindAll(groupId).Run();
  auto insert = db.Prepare("INSERT INTO error_group_item VALUES (?1, ?2, ?3)");
  for (const dc::ErrorGroupItem& item : group.items()) {
    if (item.startid() > item.endid()) {
      throw PlantRefusal(400,
                         "error group \"" + group.name() + "\": a range ends before it starts");
    }
    insert.BindAll(groupId, std::int64_t{item.startid()}, std::int64_t{item.endid()}).Run();
    insert.Reset();
  }
}

std::string AddErrorGroup(SqliteDatabase& db, const dc::AddErrorGroupCommand& command) {
  const PlantLine line = LineOf(db, command);
  const dc::ErrorGroup& group = command.errorgroup();
  if (group.name().empty()) throw PlantRefusal(400, "an error group needs a name");
  if (IdByName(db, "error_group", line.id, group.name())) {
    throw PlantRefusal(409, "error group \"" + group.name() + "\" exists already");
  }
  db.Prepare("INSERT INTO error_group (line_id, name) VALUES (?1, ?2)")
      .BindAll(line.id, group.name())
      .Run();
  WriteGroupItems(db, db.LastInsertId(), group);
  return "error group " + group.name() + " added to " + line.name;
}

std::string UpdateErrorGroup(SqliteDatabase& db, const dc::UpdateErrorGroupCommand& command) {
  const PlantLine line = LineOf(db, command);
  const dc::ErrorGroup& group = command.errorgroup();
  WriteGroupItems(db, RequireId(db, "error_group", "error group", line.id, group.name()), group);
  return "error group " + group.name() + " of " + line.name + " updated";
}

std::string DeleteErrorGroup(SqliteDatabase& db, const dc::DeleteErrorGroupCommand& command) {
  const PlantLine line = LineOf(db, command);
  db.Prepare("DELETE FROM error_group WHERE id = ?1")
      .BindAll(RequireId(db, "error_group", "error group", line.id, command.name()))
      .Run();
  return "error group " + command.name() + " deleted from " + line.name;
}

std::string AddReferenceUnit(SqliteDatabase& db, const dc::AddReferenceUnitCommand& command) {
  const PlantLine line = LineOf(db, command);
  const dc::ReferenceUnit& unit = command.referenceunit();
  if (unit.name().empty()) throw PlantRefusal(400, "a reference unit needs a name");
  db.Prepare("INSERT OR REPLACE INTO reference_unit VALUES (?1, ?2, ?3)")
      .BindAll(line.id, unit.name(), std::int64_t{unit.type()})
      .Run();
  return "reference unit " + unit.name() + " added to " + line.name;
}

std::string DeleteReferenceUnit(SqliteDatabase& db, const dc::DeleteReferenceUnitCommand& command) {
  const PlantLine line = LineOf(db, command);
  db.Prepare("DELETE FROM reference_unit WHERE line_id = ?1 AND name = ?2")
      .BindAll(line.id, command.name())
      .Run();
  if (db.Changes() == 0) throw PlantRefusal(404, "no reference unit \"" + command.name() + "\"");
  return "reference unit " + command.name() + " deleted from " + line.name;
}

std::string TruncateResults(SqliteDatabase& db, const dc::ResultDbTruncateCommand& command) {
  const PlantLine line = LineOf(db, command);
  db.Prepare("DELETE FROM defect WHERE test_id IN (SELECT id FROM test WHERE line_id = ?1)")
      .BindAll(line.id)
      .Run();
  db.Prepare("DELETE FROM test WHERE line_id = ?1").BindAll(line.id).Run();
  return "results of " + line.name + " truncated";
}

std::string AddLine(SqliteDatabase& db, const dc::AddLineCommand& command) {
  if (command.factory().empty() || command.line().empty()) {
    throw PlantRefusal(400, "a line needs a factory and a name");
  }
  db.Prepare("INSERT OR IGNORE INTO factory (name) VALUES (?1)").BindAll(command.factory()).Run();
  auto exists = db.Prepare(
      "SELECT 1 FROM line l JOIN factory f ON f.id = l.factory_id WHERE f.name = ?1 AND l.name = "
      "?2");
  exists.BindAll(command.factory(), command.line());
  if (exists.Step()) throw PlantRefusal(409, "line \"" + command.line() + "\" exists already");
  const std::string zone = command.has_ianatimezoneid() ? command.ianatimezoneid() : "Etc/UTC";
  // The offset of a zone the plant does not know is taken as 0.
  db.Prepare(
        "INSERT INTO line (factory_id, name, iana_zone, windows_zone, utc_offset_minutes, "
        "daylight_saving,"
        " bench_iana_zone, bench_windows_zone, bench_utc_offset_minutes, bench_daylight_saving)"
        " SELECT (SELECT id FROM factory WHERE name = ?1), ?2, ?3, '', COALESCE((SELECT "
        "utc_offset_minutes"
        " FROM line WHERE iana_zone = ?3 LIMIT 1), 0), 0, ?3, '', 0, 0")
      .BindAll(command.factory(), command.line(), zone)
      .Run();
  return "line " + command.line() + " added to " + command.factory();  // the password is not logged
}

std::string StoreToken(SqliteDatabase& db, const dc::StoreTokenCommand& command) {
  if (command.token().empty()) throw PlantRefusal(400, "the token is empty");
  db.Prepare("INSERT OR REPLACE INTO token VALUES ('licence', ?1)").BindAll(command.token()).Run();
  return "token stored";  // never the token itself
}

dc::LogEntryContainer LogEntries(SqliteDatabase& db, const dc::LogEntryQuery& query) {
  std::int64_t from = INT64_MIN, until = INT64_MAX;
  if (query.has_fromtime()) {
    const auto instant = vrex::data::ToInstant(query.fromtime());
    if (instant && instant->extreme == vrex::data::Extreme::None) {
      from = std::chrono::floor<std::chrono::seconds>(instant->time).time_since_epoch().count();
    }
  }
  if (query.has_untiltime()) {
    const auto instant = vrex::data::ToInstant(query.untiltime());
    if (instant && instant->extreme == vrex::data::Extreme::None) {
      until = std::chrono::floor<std::chrono::seconds>(instant->time).time_since_epoch().count();
    }
  }
  auto rows = db.Prepare(
      "SELECT id, time, level, source, text FROM log_entry WHERE time BETWEEN ?1 AND ?2"
      " AND level >= ?3 AND (?4 = '' OR source = ?4) ORDER BY id");
  rows.BindAll(from, until, std::int64_t{query.has_level() ? query.level() : 0},
               query.has_sourcecontext() ? query.sourcecontext() : std::string());
  dc::LogEntryContainer container;
  container.set_factory(query.factory());
  container.set_line(query.line());
  while (rows.Step()) {
    dc::LogEntry& entry = *container.add_logentries();
    *entry.mutable_timestamp() = vrex::data::FromSystemTime(
        std::chrono::system_clock::time_point(std::chrono::seconds(rows.Int(1))));
    entry.set_level(static_cast<en::LogLevel>(rows.Int(2)));
    entry.set_sourcecontext(rows.Text(3));
    entry.set_eventid(std::to_string(rows.Int(0)));
    entry.set_message(rows.Text(4));
  }
  return container;
}

}  // namespace

void WriteLogEntry(SqliteDatabase& db, const std::string& source, const std::string& text) {
  db.Prepare("INSERT INTO log_entry (time, level, source, text) VALUES (?1, 2, ?2, ?3)")
      .BindAll(NowSeconds(), source, text)
      .Run();
}

void AddCommandHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers) {
  handlers.emplace("AddShiftCommand", Command<dc::AddShiftCommand>(AddShift));
  handlers.emplace("UpdateShiftCommand", Command<dc::UpdateShiftCommand>(UpdateShift));
  handlers.emplace("DeleteShiftCommand", Command<dc::DeleteShiftCommand>(DeleteShift));
  handlers.emplace("AddErrorGroupCommand", Command<dc::AddErrorGroupCommand>(AddErrorGroup));
  handlers.emplace("UpdateErrorGroupCommand",
                   Command<dc::UpdateErrorGroupCommand>(UpdateErrorGroup));
  handlers.emplace("DeleteErrorGroupCommand",
                   Command<dc::DeleteErrorGroupCommand>(DeleteErrorGroup));
  handlers.emplace("AddReferenceUnitCommand",
                   Command<dc::AddReferenceUnitCommand>(AddReferenceUnit));
  handlers.emplace("DeleteReferenceUnitCommand",
                   Command<dc::DeleteReferenceUnitCommand>(DeleteReferenceUnit));
  handlers.emplace("ResultDbTruncateCommand",
                   Command<dc::ResultDbTruncateCommand>(TruncateResults));
  handlers.emplace("AddLineCommand", Command<dc::AddLineCommand>(AddLine));
  handlers.emplace("StoreTokenCommand", Command<dc::StoreTokenCommand>(StoreToken));
  handlers.emplace("LogEntryQuery", Answering<dc::LogEntryQuery>(LogEntries));
}

}  // namespace vrex::stub::plant
