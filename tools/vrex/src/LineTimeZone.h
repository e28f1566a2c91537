#pragma once
// The time zone a line states in the topology, for showing its times and
// reading times people type. UTC where the topology states none.
//
// An IANA zone is looked up in the system's time-zone database, so daylight
// saving time is applied; when the database lacks the zone, the line's
// stated UTC offset is used as a fixed offset.

#include <chrono>
#include <optional>
#include <string>

#include "Line.pb.h"
#include "bcl.pb.h"

namespace vrex::cli {

using SystemTime = std::chrono::system_clock::time_point;

class LineTimeZone {
 public:
  static LineTimeZone Utc();
  /// The line's `TimezoneId`; UTC when it is absent.
  static LineTimeZone Of(const Korvan::KQ::DataContracts::Line& line);
  /// A zone of the time-zone database with a fallback offset, for tests.
  static LineTimeZone Named(std::string ianaId, std::chrono::minutes fallbackOffset);

  /// "UTC" or the IANA identifier.
  std::string Name() const;
  /// The offset from UTC in force at `instant`.
  std::chrono::minutes OffsetAt(SystemTime instant) const;
  /// The instant at which the zone's clocks show `wallClock` (a reading
  /// written as if it were UTC).
  SystemTime FromWallClock(SystemTime wallClock) const;

  /// A contract time as "2024-03-12T07:58:11+01:00" ("...Z" in UTC); a
  /// time of kind LOCAL or UNSPECIFIED is shown as sent, without offset.
  std::string Format(const bcl::DateTime& time) const;
  std::string Format(SystemTime instant) const;

 private:
  LineTimeZone() = default;

  std::string ianaId_;  // empty: UTC
  std::chrono::minutes fallbackOffset_{0};
};

}  // namespace vrex::cli
