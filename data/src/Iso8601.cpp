#include "vrex/data/Iso8601.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "CivilCalendar.h"

namespace vrex::data {
namespace {

using internal::CivilDate;
using internal::CivilFromDays;
using internal::DaysFromCivil;
using internal::IsValidDate;

constexpr std::int64_t kTicksPerDay = Ticks(std::chrono::hours(24)).count();
constexpr std::int64_t kTicksPerSecond = Ticks(std::chrono::seconds(1)).count();

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
  const std::int64_t seconds = ofDay / kTicksPerSecond;
  char clock[48];
  std::snprintf(clock, sizeof clock, "-%02u-%02uT%02lld:%02lld:%02lld.%07lld%s", date.month,
                date.day, static_cast<long long>(seconds / 3600),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60),
                static_cast<long long>(ofDay % kTicksPerSecond),
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

}  // namespace vrex::data
