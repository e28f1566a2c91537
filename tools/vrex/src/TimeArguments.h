#pragma once
// Times as people type them on the command line: ISO 8601 ("2024-03-12",
// "2024-03-12T08:00", "2024-03-12T08:00:00Z", "...+01:00") or relative to
// now ("2h", "90m", "1d", "1h30m": that long ago).

#include <chrono>
#include <string_view>

#include "vrex/Result.h"
#include "vrex/data/LineTimeZone.h"

namespace vrex::cli {

using SystemTime = std::chrono::system_clock::time_point;

/// A span like "2h", "15m", "30s", "1d", "1w" or "1h30m"; must be positive.
Result<std::chrono::seconds> ParseRelativeSpan(std::string_view text);

/// An ISO 8601 date or date and time. Without an offset or "Z" the reading
/// is taken in `zone`, the line's time zone.
Result<SystemTime> ParseIso8601(std::string_view text, const data::LineTimeZone& zone);

/// A relative span (counted back from `now`) or an ISO 8601 time.
Result<SystemTime> ParseTimeArgument(std::string_view text, SystemTime now,
                                     const data::LineTimeZone& zone);

}  // namespace vrex::cli
