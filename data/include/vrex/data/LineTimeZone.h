#pragma once
// The time zone a line states in the topology (`Line.TimezoneId`), to show
// its tests' times as the line's clocks read them and to read times people
// type there. UTC where the topology states no zone.
//
//   const auto zone = vrex::data::LineTimeZone::Of(line);  // a Line of SimpleTopologyContainer
//   std::cout << zone.Format(test.measurementtime());      // 2026-11-25T16:09:40+01:00
//
// An IANA zone is read from the system's time-zone database (TZDIR, else
// /usr/share/zoneinfo) once, when the LineTimeZone is made, so daylight
// saving time is applied; the process's TZ and the C library's zone are
// left alone, and any thread may use a LineTimeZone. When the database
// lacks the zone, the line's stated UTC offset is used as a fixed offset.

#include <chrono>
#include <memory>
#include <string>

#include "Line.pb.h"
#include "TimezoneInfo.pb.h"
#include "bcl.pb.h"
#include "vrex/Export.h"

namespace vrex::data {

namespace internal {
class ZoneRules;
}

class VREX_EXPORT LineTimeZone {
 public:
  using SystemTime = std::chrono::system_clock::time_point;

  static LineTimeZone Utc();
  /// The line's `TimezoneId`; UTC when it is absent.
  static LineTimeZone Of(const Korvan::KQ::DataContracts::Line& line);
  /// A zone as the topology states it (a line's or its benches').
  static LineTimeZone Of(const Korvan::KQ::DataContracts::TimezoneInfo& zone);
  /// A zone of the time-zone database, with the offset to use when the
  /// database lacks it.
  static LineTimeZone Named(std::string ianaId, std::chrono::minutes fallbackOffset);

  /// "UTC", the IANA identifier, or "UTC+05:30" for a bare offset.
  std::string Name() const;
  /// The offset from UTC in force at `instant`.
  std::chrono::minutes OffsetAt(SystemTime instant) const;
  /// The instant at which the zone's clocks show `wallClock` (a reading
  /// written as if it were UTC).
  SystemTime FromWallClock(SystemTime wallClock) const;

  /// A contract time as "2024-03-12T07:58:11+01:00" ("...Z" in UTC),
  /// fractions of a second only where there are any; a time of kind LOCAL
  /// or UNSPECIFIED is shown as sent, without offset; the extremes as "min"
  /// and "max"; an unreadable time as its reason in parentheses.
  std::string Format(const bcl::DateTime& time) const;
  std::string Format(SystemTime instant) const;

 private:
  LineTimeZone() = default;

  std::string ianaId_;  // empty: a fixed offset
  std::chrono::minutes fallbackOffset_{0};
  std::shared_ptr<const internal::ZoneRules> rules_;  // none: fallbackOffset_
};

}  // namespace vrex::data
