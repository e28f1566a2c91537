#include "vrex/data/Time.h"

#include <limits>

#include "vrex/data/Iso8601.h"

namespace vrex::data {
namespace {

// The scale numbers are the same in bcl::DateTime and bcl::TimeSpan.
constexpr int kMinMaxScale = 15;
constexpr int kTicksScale = 5;
constexpr std::int64_t kTicksPerUnit[] = {
    864'000'000'000,  // DAYS
    36'000'000'000,   // HOURS
    600'000'000,      // MINUTES
    10'000'000,       // SECONDS
    10'000,           // MILLISECONDS
    1,                // TICKS
};
constexpr const char* kScaleNames[] = {"DAYS",    "HOURS",        "MINUTES",
                                       "SECONDS", "MILLISECONDS", "TICKS"};

// A contract count read as ticks, or one of the extremes.
struct TickCount {
  std::int64_t ticks = 0;
  Extreme extreme = Extreme::None;
};

Result<TickCount> ReadCount(std::int64_t value, int scale) {
  if (scale == kMinMaxScale) {
    if (value == 1)
      return Result<TickCount>::Success({std::numeric_limits<std::int64_t>::max(), Extreme::Max});
    if (value == -1)
      return Result<TickCount>::Success({std::numeric_limits<std::int64_t>::min(), Extreme::Min});
    return Result<TickCount>::Failure("scale MINMAX holds 1 (greatest) or -1 (least), not " +
                                      std::to_string(value));
  }
  if (scale < 0 || scale > kTicksScale)
    return Result<TickCount>::Failure("unknown time scale " + std::to_string(scale));
  const std::int64_t factor = kTicksPerUnit[scale];
  // Integer division truncates towards zero, which makes both bounds exact.
  if (value > std::numeric_limits<std::int64_t>::max() / factor ||
      value < std::numeric_limits<std::int64_t>::min() / factor) {
    return Result<TickCount>::Failure(std::to_string(value) + " " + kScaleNames[scale] +
                                      " does not fit in a 64-bit count of 100 ns ticks");
  }
  return Result<TickCount>::Success({value * factor, Extreme::None});
}

// A count in the coarsest scale that holds `ticks` exactly, or MINMAX.
struct ScaledCount {
  std::int64_t value = 0;
  int scale = kTicksScale;
};

ScaledCount WriteCount(std::int64_t ticks, Extreme extreme) {
  if (extreme != Extreme::None) return {extreme == Extreme::Max ? 1 : -1, kMinMaxScale};
  for (int scale = 0; scale < kTicksScale; ++scale) {
    if (ticks % kTicksPerUnit[scale] == 0) return {ticks / kTicksPerUnit[scale], scale};
  }
  return {ticks, kTicksScale};
}

}  // namespace

Result<Instant> ToInstant(const bcl::DateTime& time) {
  const Result<TickCount> count = ReadCount(time.value(), time.scale());
  if (!count.Ok()) return Result<Instant>::Failure("time: " + count.GetStatus().Message());
  return Result<Instant>::Success(
      {TickTime(Ticks(count.Value().ticks)), count.Value().extreme, time.kind()});
}

bcl::DateTime ToDateTime(const Instant& instant) {
  const ScaledCount count = WriteCount(instant.time.time_since_epoch().count(), instant.extreme);
  bcl::DateTime time;
  time.set_value(count.value);
  time.set_scale(static_cast<bcl::DateTime_TimeSpanScale>(count.scale));
  time.set_kind(instant.kind);
  return time;
}

Result<Duration> ToDuration(const bcl::TimeSpan& span) {
  const Result<TickCount> count = ReadCount(span.value(), span.scale());
  if (!count.Ok()) return Result<Duration>::Failure("duration: " + count.GetStatus().Message());
  return Result<Duration>::Success({Ticks(count.Value().ticks), count.Value().extreme});
}

bcl::TimeSpan ToTimeSpan(const Duration& duration) {
  const ScaledCount count = WriteCount(duration.ticks.count(), duration.extreme);
  bcl::TimeSpan span;
  span.set_value(count.value);
  span.set_scale(static_cast<bcl::TimeSpan_TimeSpanScale>(count.scale));
  return span;
}

Result<std::chrono::system_clock::time_point> ToSystemTime(const bcl::DateTime& time) {
  using SystemTime = std::chrono::system_clock::time_point;
  using SystemPerTick = std::ratio_divide<Ticks::period, SystemTime::period>;
  static_assert(SystemPerTick::den == 1, "system_clock must be at least as fine as 100 ns");
  constexpr std::int64_t kPerTick = SystemPerTick::num;

  const Result<Instant> instant = ToInstant(time);
  if (!instant.Ok()) return Result<SystemTime>::Failure(instant.GetStatus().Message());
  if (instant.Value().extreme == Extreme::Max)
    return Result<SystemTime>::Success(SystemTime::max());
  if (instant.Value().extreme == Extreme::Min)
    return Result<SystemTime>::Success(SystemTime::min());

  const std::int64_t ticks = instant.Value().time.time_since_epoch().count();
  if (ticks > std::numeric_limits<SystemTime::rep>::max() / kPerTick ||
      ticks < std::numeric_limits<SystemTime::rep>::min() / kPerTick) {
    return Result<SystemTime>::Failure("time " + FormatIso8601(instant.Value()) +
                                       " lies outside the range of std::chrono::system_clock");
  }
  return Result<SystemTime>::Success(SystemTime(SystemTime::duration(ticks * kPerTick)));
}

bcl::DateTime FromSystemTime(std::chrono::system_clock::time_point time,
                             bcl::DateTime_DateTimeKind kind) {
  using SystemTime = std::chrono::system_clock::time_point;
  Instant instant;
  instant.kind = kind;
  if (time == SystemTime::max()) {
    instant.extreme = Extreme::Max;
  } else if (time == SystemTime::min()) {
    instant.extreme = Extreme::Min;
  } else {
    instant.time = std::chrono::floor<Ticks>(time);
  }
  return ToDateTime(instant);
}

}  // namespace vrex::data
