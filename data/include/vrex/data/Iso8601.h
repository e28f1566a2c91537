#pragma once
// ISO 8601 text of the contract's times, both ways, and UTC offsets as ISO
// 8601 writes them.
//
//   auto text = vrex::data::FormatIso8601(header.measurementtime());
//   if (text.Ok()) std::cout << text.Value() << '\n';  // 2026-11-23T08:15:30.1234567Z

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "bcl.pb.h"
#include "vrex/Export.h"
#include "vrex/Result.h"
#include "vrex/data/Time.h"

namespace vrex::data {

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

}  // namespace vrex::data
