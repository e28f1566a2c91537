#include "plant/PlantLine.h"

#include <algorithm>
#include <sstream>

#include "plant/DaylightSaving.h"

namespace vrex::stub::plant {

PlantLine FindLine(SqliteDatabase& db, const std::string& factory, const std::string& name) {
  auto statement = db.Prepare(
      "SELECT l.id, l.utc_offset_minutes, l.iana_zone, l.daylight_saving FROM line l JOIN factory "
      "f ON f.id = l.factory_id"
      " WHERE f.name = ?1 AND l.name = ?2");
  statement.BindAll(factory, name);
  if (!statement.Step()) {
    auto known = db.Prepare("SELECT 1 FROM factory WHERE name = ?1");
    known.BindAll(factory);
    if (!known.Step()) throw PlantRefusal(400, "no factory \"" + factory + "\" in the plant");
    throw PlantRefusal(400, "no line \"" + name + "\" in factory \"" + factory + "\"");
  }
  PlantLine line{
      statement.Int(0),      factory, name, static_cast<int>(statement.Int(1)), statement.Text(2),
      statement.Int(3) != 0, {}};
  line.shifts = LoadShifts(db, line.id);
  return line;
}

std::vector<PlantShift> LoadShifts(SqliteDatabase& db, std::int64_t lineId) {
  auto statement = db.Prepare(
      "SELECT s.id, s.name, i.start_minute, i.end_minute, i.weekdays FROM shift s"
      " LEFT JOIN shift_item i ON i.shift_id = s.id WHERE s.line_id = ?1 ORDER BY s.id, i.id");
  statement.BindAll(lineId);
  std::vector<PlantShift> shifts;
  while (statement.Step()) {
    if (shifts.empty() || shifts.back().id != statement.Int(0)) {
      shifts.push_back({statement.Int(0), statement.Text(1), {}});
    }
    if (statement.IsNull(2)) continue;
    ShiftSpan span{static_cast<int>(statement.Int(2)), static_cast<int>(statement.Int(3)), {}};
    std::istringstream days(statement.Text(4));
    for (std::string day; std::getline(days, day, ',');) {
      if (!day.empty()) span.weekdays.push_back(std::stoi(day));
    }
    shifts.back().spans.push_back(std::move(span));
  }
  return shifts;
}

namespace {

bool Holds(const ShiftSpan& span, int minute, int weekday) {
  if (!span.weekdays.empty() &&
      std::find(span.weekdays.begin(), span.weekdays.end(), weekday) == span.weekdays.end()) {
    return false;
  }
  if (span.startMinute < span.endMinute)
    return minute >= span.startMinute && minute < span.endMinute;
  return minute >= span.startMinute || minute < span.endMinute;
}

}  // namespace

int UtcOffsetMinutesAt(const PlantLine& line, std::int64_t time) {
  return UtcOffsetMinutesAt(line.ianaZone, line.utcOffsetMinutes, line.daylightSaving, time);
}

std::int64_t WallClockAt(const PlantLine& line, std::int64_t time) {
  return time + std::int64_t{UtcOffsetMinutesAt(line, time)} * 60;
}

std::int64_t UtcAtWallClock(const PlantLine& line, std::int64_t wallClock) {
  return UtcAtWallClock(line.ianaZone, line.utcOffsetMinutes, line.daylightSaving, wallClock);
}

std::string ShiftAt(const PlantLine& line, std::int64_t time) {
  const std::int64_t local = WallClockAt(line, time);
  const std::int64_t days = local >= 0 ? local / 86400 : (local - 86399) / 86400;
  const int minute = static_cast<int>((local - days * 86400) / 60);
  const int weekday = static_cast<int>(((days + 3) % 7 + 7) % 7) + 1;  // 1970-01-01: a Thursday
  for (const PlantShift& shift : line.shifts) {
    for (const ShiftSpan& span : shift.spans) {
      if (Holds(span, minute, weekday)) return shift.name;
    }
  }
  return {};
}

}  // namespace vrex::stub::plant
