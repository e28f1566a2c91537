#pragma once
// Conversions between the contract's times and durations (bcl::DateTime,
// bcl::TimeSpan) and std::chrono, and ISO 8601 text.
//
// A contract time is a signed count of units of its scale (DAYS, HOURS,
// MINUTES, SECONDS, MILLISECONDS or TICKS of 100 ns) from 1970-01-01 00:00:00,
// with a kind (UTC, LOCAL or UNSPECIFIED). The scale MINMAX is no unit: value
// 1 marks the greatest and -1 the least representable value. Here a time is
// held as a signed 64-bit count of ticks, which holds every scale exactly
// over about +-29,000 years around 1970. Counts of coarser units beyond that
// range (a DAYS value above 10,675,199, say) are reported as errors, never
// wrapped.
//
//   auto instant = vrex::data::ToInstant(header.measurementtime());
//   if (instant.Ok())
//     std::cout << vrex::data::FormatIso8601(instant.Value()) << '\n';
//     // 2026-11-23T08:15:30.1234567Z
//
//   bcl::DateTime now = vrex::data::FromSystemTime(std::chrono::system_clock::now());

#include <chrono>
#include <cstdint>
#include <optional>
#include <ratio>
#include <string>
#include <string_view>

#include "bcl.pb.h"
#include "vrex/Export.h"
#include "vrex/Result.h"

namespace vrex::data {

/// The contract's finest unit: 100 nanoseconds.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
/// A point in time as a tick count since 1970-01-01 00:00:00.
using TickTime = std::chrono::time_point<std::chrono::system_clock, Ticks>;

/// Whether a value is one of the two extremes that scale MINMAX marks.
enum class Extreme { None, Min, Max };

/// A contract time with its kind. The extremes are kept as a flag; `time`
/// then holds TickTime::min() or TickTime::max() so that comparisons order
/// them before or after every finite time.
struct Instant {
  TickTime time{};
  Extreme extreme = Extreme::None;
  bcl::DateTime_DateTimeKind kind = bcl::DateTime_DateTimeKind_UNSPECIFIED;
};

/// A contract duration. As with Instant, an extreme holds Ticks::min() or
/// Ticks::max() in `ticks`.
struct Duration {
  Ticks ticks{};
  Extreme extreme = Extreme::None;
};

/// Reads a contract time. Fails on an unknown scale number, on a MINMAX value
/// other than 1 or -1, and when the count does not fit in 64-bit ticks.
VREX_EXPORT Result<Instant> ToInstant(const bcl::DateTime& time);

/// Writes a time in the coarsest scale that holds it exactly (DAYS for whole
/// days ... TICKS otherwise), which keeps the message short; an extreme is
/// written as MINMAX with value 1 or -1.
VREX_EXPORT bcl::DateTime ToDateTime(const Instant& instant);

/// Reads a contract duration; fails as ToInstant does.
VREX_EXPORT Result<Duration> ToDuration(const bcl::TimeSpan& span);

/// Writes a duration in the coarsest exact scale, extremes as MINMAX.
VREX_EXPORT bcl::TimeSpan ToTimeSpan(const Duration& duration);

/// Reads a contract time as a system_clock time point (nanoseconds on the
/// usual platforms, which cover only the years 1677 to 2262: a time outside
/// is an error). The extremes become system_clock::time_point::min() and
/// max(). The count is taken as it stands: the kind is not applied, so a
/// LOCAL time gives the local wall-clock reading, not the UTC instant.
VREX_EXPORT Result<std::chrono::system_clock::time_point> ToSystemTime(const bcl::DateTime& time);

/// Writes a system_clock time point as a contract time of the given kind,
/// rounded down to whole ticks. system_clock::time_point::min() and max()
/// are written as the MINMAX extremes, mirroring ToSystemTime.
VREX_EXPORT bcl::DateTime FromSystemTime(
    std::chrono::system_clock::time_point time,
    bcl::DateTime_DateTimeKind kind = bcl::DateTime_DateTimeKind_UTC);

/// ISO 8601 text with seven fractional digits in the proleptic Gregorian
/// calendar: "2026-11-23T08:15:30.1234567Z". Only a UTC time ends in "Z"; a
/// LOCAL or UNSPECIFIED time has no zone designator, as its offset is
/// unknown. Years outside 0000 to 9999 are written with a sign and six
/// digits ("-000001-12-31T..." is the year 2 BC, year 0 being 1 BC). The
/// extremes are written as "min" and "max".
VREX_EXPORT std::string FormatIso8601(const Instant& instant);

/// ToInstant followed by FormatIso8601.
VREX_EXPORT Result<std::string> FormatIso8601(const bcl::DateTime& time);

/// An ISO 8601 time as it was written: the clock reading, and the offset
/// from UTC when the text states one.
struct Iso8601Reading {
  /// The date and time read as if they were UTC (digits beyond 100 ns are
  /// dropped).
  TickTime wallClock;
  /// The stated offset ("Z" is 0); none when the text gives no zone, so the
  /// reader decides which zone the wall clock belongs to.
  std::optional<std::chrono::minutes> offset;
};

/// "2024-03-12", "2024-03-12T08:00", "2024-03-12T08:00:00.5Z",
/// "2024-03-12 08:00+01:00", "...-0500" or "...+05": a date of the years
/// 0000 to 9999, an optional time (seconds and fraction optional, "T", "t" or
/// a blank before it) and an optional offset.
VREX_EXPORT Result<Iso8601Reading> ParseIso8601(std::string_view text);

/// An offset from UTC as ISO 8601 writes it: "+01:00", "-05:30", "+00:00".
/// Offsets beyond a day are clamped to 24 hours.
VREX_EXPORT std::string FormatUtcOffset(std::chrono::minutes offset);

/// A duration for people, in milliseconds with one decimal: "12.3 ms".
VREX_EXPORT std::string FormatElapsed(std::chrono::microseconds elapsed);

}  // namespace vrex::data
