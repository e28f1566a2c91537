#pragma once
// Conversions between the contract's times and durations (bcl::DateTime,
// bcl::TimeSpan) and std::chrono. Their text: Iso8601.h; in a line's time
// zone: LineTimeZone.h.
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
//   if (instant.Ok() && instant.Value().extreme == vrex::data::Extreme::None)
//     use(instant.Value().time);  // a TickTime
//
//   bcl::DateTime now = vrex::data::FromSystemTime(std::chrono::system_clock::now());

#include <chrono>
#include <cstdint>
#include <ratio>

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

}  // namespace vrex::data
