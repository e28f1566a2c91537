#include "plant/DaylightSaving.h"

#include <chrono>
#include <map>
#include <mutex>
#include <string>

#include "vrex/data/LineTimeZone.h"

namespace vrex::stub::plant {

namespace {

// A zone's rules are read from its file once; the generator and the queries
// ask for offsets of a handful of zones, millions of times, on several threads.
const data::LineTimeZone& ZoneNamed(std::string_view ianaZone, int standardMinutes) {
  static std::mutex mutex;
  static std::map<std::pair<std::string, int>, data::LineTimeZone> zones;
  const std::lock_guard<std::mutex> lock(mutex);
  auto key = std::make_pair(std::string(ianaZone), standardMinutes);
  auto found = zones.find(key);
  if (found == zones.end()) {
    found = zones.emplace(key, data::LineTimeZone::Named(key.first,
                                                         std::chrono::minutes(standardMinutes)))
                .first;
  }
  return found->second;
}

}  // namespace

int UtcOffsetMinutesAt(std::string_view ianaZone, int standardMinutes, bool daylightSaving,
                       std::int64_t time) {
  if (!daylightSaving) return standardMinutes;
  const auto instant = std::chrono::system_clock::time_point(std::chrono::seconds(time));
  return static_cast<int>(ZoneNamed(ianaZone, standardMinutes).OffsetAt(instant).count());
}

std::int64_t UtcAtWallClock(std::string_view ianaZone, int standardMinutes, bool daylightSaving,
                            std::int64_t wallClock) {
  if (!daylightSaving) return wallClock - std::int64_t{standardMinutes} * 60;
  const auto reading = std::chrono::system_clock::time_point(std::chrono::seconds(wallClock));
  const auto instant = ZoneNamed(ianaZone, standardMinutes).FromWallClock(reading);
  return std::chrono::duration_cast<std::chrono::seconds>(instant.time_since_epoch()).count();
}

}  // namespace vrex::stub::plant
