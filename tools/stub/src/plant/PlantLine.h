#pragma once
// A line of the plant as queries need it, and the answer that refuses a
// request for a line the plant does not have.

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "plant/Sqlite.h"

namespace vrex::stub::plant {

/// A request the plant refuses: answered with `status` and `what()` as text.
class PlantRefusal : public std::runtime_error {
 public:
  PlantRefusal(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
  int Status() const { return status_; }

 private:
  int status_;
};

struct ShiftSpan {
  int startMinute;
  int endMinute;              ///< at or before the start: the span runs past midnight
  std::vector<int> weekdays;  ///< 1 Monday .. 7 Sunday; empty: every day
};

struct PlantShift {
  std::int64_t id;
  std::string name;
  std::vector<ShiftSpan> spans;
};

struct PlantLine {
  std::int64_t id = 0;
  std::string factory;
  std::string name;
  int utcOffsetMinutes = 0;  ///< standard time
  std::string ianaZone;
  bool daylightSaving = false;
  std::vector<PlantShift> shifts;  ///< by id
};

/// The line's offset from UTC at `time` (seconds since 1970, UTC), summer time included.
int UtcOffsetMinutesAt(const PlantLine& line, std::int64_t time);

/// What the line's clocks show at `time`, written as if it were UTC.
std::int64_t WallClockAt(const PlantLine& line, std::int64_t time);

/// The moment at which the line's clocks show `wallClock`.
std::int64_t UtcAtWallClock(const PlantLine& line, std::int64_t wallClock);

/// The line `name` of `factory`; throws PlantRefusal (400 naming it) when
/// the plant has no such factory or line.
PlantLine FindLine(SqliteDatabase& db, const std::string& factory, const std::string& name);

/// The line a request of a line names in its `Factory` and `Line`.
template <typename Request>
PlantLine LineOf(SqliteDatabase& db, const Request& request) {
  return FindLine(db, request.factory(), request.line());
}

/// Whether a request's `names` ask for `name`: all names when it lists none.
template <typename Names>
bool Asked(const Names& names, const std::string& name) {
  return names.empty() || std::find(names.begin(), names.end(), name) != names.end();
}

/// The shifts of line `lineId`, by id.
std::vector<PlantShift> LoadShifts(SqliteDatabase& db, std::int64_t lineId);

/// The name of the first shift whose span holds `time` (seconds since 1970,
/// UTC) in the line's local time at that moment, or "" when none does.
std::string ShiftAt(const PlantLine& line, std::int64_t time);

}  // namespace vrex::stub::plant
