#include "vrex/data/Time.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

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
constexpr std::int64_t kTicksPerDay = kTicksPerUnit[0];

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

struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

// Proleptic Gregorian date of a day count since 1970-01-01. Works in 400-year
// eras that start on March 1st, so that the leap day ends each era's year.
CivilDate CivilFromDays(std::int64_t days) {
  constexpr std::int64_t kDaysPerEra = 146097;
  const std::int64_t shifted = days + 719468;  // days since 0000-03-01
  const std::int64_t era = (shifted >= 0 ? shifted : shifted - kDaysPerEra + 1) / kDaysPerEra;
  const auto dayOfEra = static_cast<unsigned>(shifted - era * kDaysPerEra);
  const unsigned yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned marchMonth = (5 * dayOfYear + 2) / 153;  // 0 = March
  const unsigned day = dayOfYear - (153 * marchMonth + 2) / 5 + 1;
  const unsigned month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
  const std::int64_t year = era * 400 + yearOfEra + (month <= 2 ? 1 : 0);
  return {year, month, day};
}

// Days since 1970-01-01 of a proleptic Gregorian date: the inverse of
// CivilFromDays, in the same March-based eras.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

bool IsValidDate(int year, int month, int day) {
  static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12 || day < 1 || day > kDays[month - 1]) {
    return false;
  }
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month != 2 || day <= 28 || leap;
}

// Reading ISO 8601 text: each step reads at `position` and advances it.
class Iso8601Scanner {
 public:
  explicit Iso8601Scanner(std::string_view text) : text_(text) {}

  bool AtEnd() const { return position_ == text_.size(); }

  // Exactly `digits` decimal digits.
  std::optional<int> Digits(std::size_t digits) {
    if (position_ + digits > text_.size()) return std::nullopt;
    int value = 0;
    for (std::size_t i = 0; i < digits; ++i) {
      const char c = text_[position_ + i];
      if (c < '0' || c > '9') return std::nullopt;
      value = value * 10 + (c - '0');
    }
    position_ += digits;
    return value;
  }

  bool Take(char wanted) {
    if (position_ < text_.size() && text_[position_] == wanted) {
      ++position_;
      return true;
    }
    return false;
  }

  // "hh:mm", "hh:mm:ss" or "hh:mm:ss.fff..." (or with a decimal comma).
  std::optional<std::chrono::nanoseconds> Clock() {
    const auto hour = Digits(2);
    const auto minute = hour && Take(':') ? Digits(2) : std::nullopt;
    if (!minute) return std::nullopt;
    int second = 0;
    std::chrono::nanoseconds fraction{0};
    if (Take(':')) {
      const auto seconds = Digits(2);
      if (!seconds) return std::nullopt;
      second = *seconds;
      if (Take('.') || Take(',')) {
        const std::size_t start = position_;
        for (std::int64_t scale = 100'000'000; position_ < text_.size() && IsDigit(); scale /= 10) {
          fraction += std::chrono::nanoseconds((text_[position_++] - '0') * scale);
        }
        if (position_ == start) return std::nullopt;
      }
    }
    if (*hour > 23 || *minute > 59 || second > 60) return std::nullopt;
    return std::chrono::hours(*hour) + std::chrono::minutes(*minute) +
           std::chrono::seconds(second) + fraction;
  }

  // "Z", "+01:00", "+0100" or "-05"; nullopt when no offset follows, and
  // `valid` false when what follows is none.
  std::optional<std::chrono::minutes> Offset(bool& valid) {
    valid = true;
    if (AtEnd()) return std::nullopt;
    if (Take('Z') || Take('z')) return std::chrono::minutes(0);
    const bool negative = Take('-');
    if (!negative && !Take('+')) {
      valid = false;
      return std::nullopt;
    }
    const auto hours = Digits(2);
    Take(':');
    const auto minutes = AtEnd() ? std::optional(0) : Digits(2);
    if (!hours || !minutes || *hours > 23 || *minutes > 59) {
      valid = false;
      return std::nullopt;
    }
    const std::chrono::minutes offset(*hours * 60 + *minutes);
    return negative ? -offset : offset;
  }

 private:
  bool IsDigit() const { return text_[position_] >= '0' && text_[position_] <= '9'; }

  std::string_view text_;
  std::size_t position_ = 0;
};

std::string FormatYear(std::int64_t year) {
  char text[16];
  if (year >= 0 && year <= 9999) {
    std::snprintf(text, sizeof text, "%04lld", static_cast<long long>(year));
  } else {
    std::snprintf(text, sizeof text, "%+07lld", static_cast<long long>(year));
  }
  return text;
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

std::string FormatIso8601(const Instant& instant) {
  if (instant.extreme == Extreme::Max) return "max";
  if (instant.extreme == Extreme::Min) return "min";

  // Split into whole days and the ticks of the day without overflowing near
  // the ends of the 64-bit range.
  const std::int64_t ticks = instant.time.time_since_epoch().count();
  std::int64_t days = ticks / kTicksPerDay;
  std::int64_t ofDay = ticks % kTicksPerDay;
  if (ofDay < 0) {
    ofDay += kTicksPerDay;
    --days;
  }
  const CivilDate date = CivilFromDays(days);
  const std::int64_t seconds = ofDay / kTicksPerUnit[3];
  char clock[48];
  std::snprintf(clock, sizeof clock, "-%02u-%02uT%02lld:%02lld:%02lld.%07lld%s", date.month,
                date.day, static_cast<long long>(seconds / 3600),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60),
                static_cast<long long>(ofDay % kTicksPerUnit[3]),
                instant.kind == bcl::DateTime_DateTimeKind_UTC ? "Z" : "");
  return FormatYear(date.year) + clock;
}

Result<std::string> FormatIso8601(const bcl::DateTime& time) {
  const Result<Instant> instant = ToInstant(time);
  if (!instant.Ok()) return Result<std::string>::Failure(instant.GetStatus().Message());
  return Result<std::string>::Success(FormatIso8601(instant.Value()));
}

Result<Iso8601Reading> ParseIso8601(std::string_view text) {
  const Error advice = "\"" + std::string(text) +
                       "\" is no ISO 8601 time; write e.g. 2024-03-12, 2024-03-12T08:00 or "
                       "2024-03-12T08:00:00Z";
  Iso8601Scanner scan(text);
  const auto year = scan.Digits(4);
  const auto month = year && scan.Take('-') ? scan.Digits(2) : std::nullopt;
  const auto day = month && scan.Take('-') ? scan.Digits(2) : std::nullopt;
  if (!day || !IsValidDate(*year, *month, *day)) {
    return Result<Iso8601Reading>::Failure(advice);
  }
  std::chrono::nanoseconds timeOfDay{0};
  if (scan.Take('T') || scan.Take('t') || scan.Take(' ')) {
    const auto clock = scan.Clock();
    if (!clock) return Result<Iso8601Reading>::Failure(advice);
    timeOfDay = *clock;
  }
  bool offsetValid = true;
  const auto offset = scan.Offset(offsetValid);
  if (!offsetValid || !scan.AtEnd()) {
    return Result<Iso8601Reading>::Failure(advice);
  }
  const Ticks days(kTicksPerDay * DaysFromCivil(*year, static_cast<unsigned>(*month),
                                                 static_cast<unsigned>(*day)));
  const TickTime wallClock(days + std::chrono::duration_cast<Ticks>(timeOfDay));
  return Result<Iso8601Reading>::Success({wallClock, offset});
}

std::string FormatUtcOffset(std::chrono::minutes offset) {
  // Offsets of real zones stay within a day; the clamp keeps the text short.
  const long total = std::min<long>(std::labs(static_cast<long>(offset.count())), 24 * 60);
  char text[16];
  std::snprintf(text, sizeof text, "%c%02ld:%02ld", offset.count() < 0 ? '-' : '+', total / 60,
                total % 60);
  return text;
}

std::string FormatElapsed(std::chrono::microseconds elapsed) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(elapsed.count()) / 1000.0);
  return text;
}

}  // namespace vrex::data
