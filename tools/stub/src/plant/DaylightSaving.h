#pragma once
// A line's offset from UTC at a moment, summer time included, by the same
// zone rules the library shows local times with (vrex/data/LineTimeZone.h,
// the system's time-zone database). A line that does not observe daylight
// saving time, or a zone the database lacks, keeps its standard offset.

#include <cstdint>
#include <string_view>

namespace vrex::stub::plant {

/// The offset in minutes at `time` (seconds since 1970, UTC) of a zone whose
/// standard offset is `standardMinutes`.
int UtcOffsetMinutesAt(std::string_view ianaZone, int standardMinutes, bool daylightSaving,
                       std::int64_t time);

/// The moment (seconds since 1970, UTC) at which such a zone's clocks show
/// `wallClock` (a reading written as if it were UTC).
std::int64_t UtcAtWallClock(std::string_view ianaZone, int standardMinutes, bool daylightSaving,
                            std::int64_t wallClock);

}  // namespace vrex::stub::plant
