#pragma once
// The offsets from UTC of one zone of the time-zone database, read once from
// its TZif file (RFC 8536) and then asked without touching the process's
// TZ or C library state, so any thread of a host application may use them.
// Debian's date/tz.h (libhowardhinnant-date-dev, built on the system's
// database) is no substitute: it ignores the footer's rule, so after the
// file's last transition (2037) a zone keeps standard time all year.

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vrex::data::internal {

/// The rule of a TZif file's footer (a POSIX TZ string such as
/// "CET-1CEST,M3.5.0,M10.5.0/3"), which holds after the last transition.
struct ZoneFooter {
  /// A day of the year as the rule names it, and the local time of the change.
  struct Change {
    char form = 'M';  // 'M' month.week.day, 'J' day 1..365 without 29 Feb, 'n' day 0..365
    int month = 0;
    int week = 0;
    int day = 0;
    std::int64_t secondsIntoDay = 2 * 3600;
  };
  std::int64_t standardOffset = 0;  ///< seconds east of UTC
  std::optional<std::int64_t> daylightOffset;
  Change start;
  Change end;
};

/// Reads a POSIX TZ string; nullopt when it is not one.
std::optional<ZoneFooter> ParseZoneFooter(std::string_view text);

class ZoneRules {
 public:
  /// The zone's file under TZDIR (default /usr/share/zoneinfo); nullptr when
  /// the identifier names no readable TZif file.
  static std::shared_ptr<const ZoneRules> Load(const std::string& ianaId);
  /// Reads a TZif file's bytes; nullopt when they are not one.
  static std::optional<ZoneRules> Parse(std::string_view bytes);

  /// The offset from UTC in force at `unixSeconds`.
  std::chrono::seconds OffsetAt(std::int64_t unixSeconds) const;

 private:
  std::vector<std::int64_t> transitions_;  // seconds since 1970, ascending
  std::vector<std::int64_t> offsets_;      // offsets_[i] holds from transitions_[i]
  std::int64_t offsetBefore_ = 0;          // before the first transition
  std::optional<ZoneFooter> footer_;       // after the last one
};

}  // namespace vrex::data::internal
