#pragma once
// A line's offset from UTC at a moment, summer time included. The plant
// knows the two rules its zones follow, by the region of the IANA zone name:
// "Europe/..." changes at 01:00 UTC on the last Sundays of March and October,
// "America/..." at 02:00 local time on the second Sunday of March and the
// first of November. A zone that does not observe daylight saving time, or
// of another region, keeps its standard offset all year.

#include <cstdint>
#include <string_view>

namespace vrex::stub::plant {

/// The offset in minutes at `time` (seconds since 1970, UTC) of a zone whose
/// standard offset is `standardMinutes`.
int UtcOffsetMinutesAt(std::string_view ianaZone, int standardMinutes, bool daylightSaving,
                       std::int64_t time);

}  // namespace vrex::stub::plant
