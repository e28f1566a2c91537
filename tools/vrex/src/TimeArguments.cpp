#include "TimeArguments.h"

#include <cctype>
#include <cstdint>
#include <optional>
#include <string>

#include "vrex/data/Iso8601.h"
#include "vrex/data/Time.h"

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

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

// Far enough back for any plant's records, near enough that "now" minus the
// span stays within what a system clock holds.
constexpr seconds kLongestSpan{36500LL * 86400};

Result<seconds> TooLong(std::string_view text) {
  return Failure<seconds>("the time span " + Quoted(text) +
                          " is too long; at most 100 years (36500d)");
}

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
        return TooLong(text);
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
    if (total > kLongestSpan) {
      return TooLong(text);
    }
    anyPart = true;
  }
  if (!anyPart || total.count() == 0) {
    return Failure<seconds>("the time span " + Quoted(text) + " must be longer than 0");
  }
  return Result<seconds>::Success(total);
}

Result<SystemTime> ParseIso8601(std::string_view text, const data::LineTimeZone& zone) {
  const auto reading = data::ParseIso8601(text);
  if (!reading) {
    return Failure<SystemTime>(reading.GetStatus().Message());
  }
  const auto& [wallClock, offset] = reading.Value();
  // A system_clock holds some 290 years around 1970; far dates fail here.
  const auto system = data::ToSystemTime(data::ToDateTime({wallClock}));
  if (!system) {
    return Failure<SystemTime>(system.GetStatus().Message());
  }
  return Result<SystemTime>::Success(offset ? system.Value() - *offset
                                            : zone.FromWallClock(system.Value()));
}

Result<SystemTime> ParseTimeArgument(std::string_view text, SystemTime now,
                                     const data::LineTimeZone& zone) {
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
