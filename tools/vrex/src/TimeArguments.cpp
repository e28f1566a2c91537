#include "TimeArguments.h"

#include <cctype>
#include <cstdint>
#include <optional>
#include <string>

namespace vrex::cli {

namespace {

using std::chrono::seconds;

template <typename T>
Result<T> Failure(std::string error) {
  return Result<T>::Failure(std::move(error));
}

std::optional<seconds> UnitOf(char unit) {
  switch (unit) {
    case 's':
      return seconds(1);
    case 'm':
      return seconds(60);
    case 'h':
      return seconds(3600);
    case 'd':
      return seconds(86400);
    case 'w':
      return seconds(7 * 86400);
    default:
      return std::nullopt;
  }
}

// Reads exactly `digits` decimal digits at `position`, advancing it.
std::optional<int> ReadDigits(std::string_view text, std::size_t& position, std::size_t digits) {
  if (position + digits > text.size()) {
    return std::nullopt;
  }
  int value = 0;
  for (std::size_t i = 0; i < digits; ++i) {
    const char c = text[position + i];
    if (std::isdigit(static_cast<unsigned char>(c)) == 0) {
      return std::nullopt;
    }
    value = value * 10 + (c - '0');
  }
  position += digits;
  return value;
}

bool Expect(std::string_view text, std::size_t& position, char wanted) {
  if (position < text.size() && text[position] == wanted) {
    ++position;
    return true;
  }
  return false;
}

// Days since 1970-01-01 of a proleptic Gregorian date (H. Hinnant's algorithm).
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

struct ClockReading {
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::chrono::nanoseconds fraction{0};
};

std::optional<ClockReading> ReadClock(std::string_view text, std::size_t& position) {
  ClockReading clock;
  const auto hour = ReadDigits(text, position, 2);
  if (!hour || !Expect(text, position, ':')) {
    return std::nullopt;
  }
  const auto minute = ReadDigits(text, position, 2);
  if (!minute) {
    return std::nullopt;
  }
  clock.hour = *hour;
  clock.minute = *minute;
  if (Expect(text, position, ':')) {
    const auto second = ReadDigits(text, position, 2);
    if (!second) {
      return std::nullopt;
    }
    clock.second = *second;
    if (Expect(text, position, '.') || Expect(text, position, ',')) {
      std::int64_t scale = 100'000'000;
      const std::size_t start = position;
      while (position < text.size() && std::isdigit(static_cast<unsigned char>(text[position]))) {
        clock.fraction += std::chrono::nanoseconds((text[position] - '0') * scale);
        scale /= 10;
        ++position;
      }
      if (position == start) {
        return std::nullopt;
      }
    }
  }
  if (clock.hour > 23 || clock.minute > 59 || clock.second > 60) {
    return std::nullopt;
  }
  return clock;
}

// "Z", "+01:00", "+0100" or "-05"; nullopt for none, failure via `valid`.
std::optional<std::chrono::minutes> ReadOffset(std::string_view text, std::size_t& position,
                                               bool& valid) {
  valid = true;
  if (position == text.size()) {
    return std::nullopt;
  }
  if (Expect(text, position, 'Z') || Expect(text, position, 'z')) {
    return std::chrono::minutes(0);
  }
  const char sign = text[position];
  if (sign != '+' && sign != '-') {
    valid = false;
    return std::nullopt;
  }
  ++position;
  const auto hours = ReadDigits(text, position, 2);
  Expect(text, position, ':');
  const auto minutes = position < text.size() ? ReadDigits(text, position, 2) : std::optional(0);
  if (!hours || !minutes || *hours > 23 || *minutes > 59) {
    valid = false;
    return std::nullopt;
  }
  const std::chrono::minutes offset(*hours * 60 + *minutes);
  return sign == '-' ? -offset : offset;
}

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

}  // namespace

Result<seconds> ParseRelativeSpan(std::string_view text) {
  seconds total{0};
  std::size_t position = 0;
  bool anyPart = false;
  while (position < text.size()) {
    std::int64_t count = 0;
    const std::size_t start = position;
    while (position < text.size() && std::isdigit(static_cast<unsigned char>(text[position]))) {
      if (count > 1'000'000'000) {
        return Failure<seconds>("the time span " + Quoted(text) + " is too long");
      }
      count = count * 10 + (text[position] - '0');
      ++position;
    }
    const std::optional<seconds> unit =
        position < text.size() ? UnitOf(text[position]) : std::nullopt;
    if (position == start || !unit) {
      return Failure<seconds>(Quoted(text) +
                              " is no time span; write e.g. 30s, 15m, 2h, 1d, 1w or 1h30m");
    }
    ++position;
    total += *unit * count;
    anyPart = true;
  }
  if (!anyPart || total.count() == 0) {
    return Failure<seconds>("the time span " + Quoted(text) + " must be longer than 0");
  }
  return Result<seconds>::Success(total);
}

Result<SystemTime> ParseIso8601(std::string_view text, const LineTimeZone& zone) {
  const std::string advice = Quoted(text) +
                             " is no ISO 8601 time; write e.g. 2024-03-12, 2024-03-12T08:00 "
                             "or 2024-03-12T08:00:00Z";
  std::size_t position = 0;
  const auto year = ReadDigits(text, position, 4);
  const bool dashOne = Expect(text, position, '-');
  const auto month = ReadDigits(text, position, 2);
  const bool dashTwo = Expect(text, position, '-');
  const auto day = ReadDigits(text, position, 2);
  if (!year || !dashOne || !month || !dashTwo || !day || !IsValidDate(*year, *month, *day)) {
    return Failure<SystemTime>(advice);
  }
  ClockReading clock;
  if (Expect(text, position, 'T') || Expect(text, position, 't') || Expect(text, position, ' ')) {
    const auto reading = ReadClock(text, position);
    if (!reading) {
      return Failure<SystemTime>(advice);
    }
    clock = *reading;
  }
  bool offsetValid = true;
  const auto offset = ReadOffset(text, position, offsetValid);
  if (!offsetValid || position != text.size()) {
    return Failure<SystemTime>(advice);
  }
  const auto days = std::chrono::hours(24 * DaysFromCivil(*year, static_cast<unsigned>(*month),
                                                          static_cast<unsigned>(*day)));
  const SystemTime wallClock =
      SystemTime(std::chrono::duration_cast<SystemTime::duration>(
          days + std::chrono::hours(clock.hour) + std::chrono::minutes(clock.minute) +
          seconds(clock.second) + clock.fraction));
  return Result<SystemTime>::Success(offset ? wallClock - *offset
                                                  : zone.FromWallClock(wallClock));
}

Result<SystemTime> ParseTimeArgument(std::string_view text, SystemTime now,
                                           const LineTimeZone& zone) {
  if (!text.empty() && std::isdigit(static_cast<unsigned char>(text.back())) == 0 &&
      text.find('-') == std::string_view::npos) {
    const auto span = ParseRelativeSpan(text);
    if (!span.Ok()) {
      return Failure<SystemTime>(span.GetStatus().Message());
    }
    return Result<SystemTime>::Success(now - span.Value());
  }
  return ParseIso8601(text, zone);
}

}  // namespace vrex::cli
