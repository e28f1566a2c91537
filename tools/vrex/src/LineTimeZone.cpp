#include "LineTimeZone.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "vrex/data/Time.h"

namespace vrex::cli {

namespace {

using std::chrono::minutes;

bool ZoneIsInDatabase(const std::string& ianaId) {
  if (ianaId.empty() || ianaId.find("..") != std::string::npos || ianaId.front() == '/') {
    return false;
  }
  const char* directory = std::getenv("TZDIR");
  std::error_code ignored;
  return std::filesystem::is_regular_file(
      std::filesystem::path(directory != nullptr ? directory : "/usr/share/zoneinfo") / ianaId,
      ignored);
}

// The C library knows time zones only through TZ; vrex is single-threaded,
// so switching TZ for one conversion and back is safe here.
std::optional<minutes> DatabaseOffset(const std::string& ianaId, std::time_t instant) {
  if (!ZoneIsInDatabase(ianaId)) {
    return std::nullopt;
  }
  const char* previous = std::getenv("TZ");
  const std::optional<std::string> saved =
      previous != nullptr ? std::optional<std::string>(previous) : std::nullopt;
  setenv("TZ", ianaId.c_str(), 1);
  tzset();
  std::tm local{};
  const bool converted = localtime_r(&instant, &local) != nullptr;
  if (saved) {
    setenv("TZ", saved->c_str(), 1);
  } else {
    unsetenv("TZ");
  }
  tzset();
  if (!converted) {
    return std::nullopt;
  }
  return std::chrono::duration_cast<minutes>(std::chrono::seconds(local.tm_gmtoff));
}

std::string OffsetText(minutes offset) {
  return offset.count() == 0 ? "Z" : data::FormatUtcOffset(offset);
}

// "2024-03-12T07:58:11.5000000" -> "2024-03-12T07:58:11.5"; whole seconds
// lose the fraction, which keeps tables narrow.
std::string TrimFraction(std::string text) {
  const std::size_t dot = text.rfind('.');
  if (dot == std::string::npos || text.find('T') == std::string::npos || dot < text.find('T')) {
    return text;
  }
  std::size_t end = text.size();
  while (end > dot + 1 && text[end - 1] == '0') {
    --end;
  }
  text.erase(end == dot + 1 ? dot : end);
  return text;
}

std::string FormatWallClock(const data::Instant& instant) {
  return TrimFraction(data::FormatIso8601(instant));
}

}  // namespace

LineTimeZone LineTimeZone::Utc() { return LineTimeZone(); }

LineTimeZone LineTimeZone::Of(const Korvan::KQ::DataContracts::Line& line) {
  if (!line.has_timezoneid()) {
    return Utc();
  }
  const auto& zone = line.timezoneid();
  return Named(zone.ianatimezoneid(), minutes(zone.utcoffsetinminutes()));
}

LineTimeZone LineTimeZone::Named(std::string ianaId, minutes fallbackOffset) {
  LineTimeZone zone;
  zone.ianaId_ = std::move(ianaId);
  zone.fallbackOffset_ = fallbackOffset;
  if (zone.ianaId_ == "UTC" || zone.ianaId_ == "Etc/UTC") {
    zone.ianaId_.clear();
  }
  return zone;
}

std::string LineTimeZone::Name() const {
  if (!ianaId_.empty()) {
    return ianaId_;
  }
  return fallbackOffset_.count() == 0 ? "UTC" : "UTC" + OffsetText(fallbackOffset_);
}

minutes LineTimeZone::OffsetAt(SystemTime instant) const {
  if (ianaId_.empty()) {
    return fallbackOffset_;
  }
  return DatabaseOffset(ianaId_, std::chrono::system_clock::to_time_t(instant))
      .value_or(fallbackOffset_);
}

SystemTime LineTimeZone::FromWallClock(SystemTime wallClock) const {
  // The offset at the wall-clock reading taken as UTC is off by at most one
  // change of offset; a second round settles it.
  SystemTime instant = wallClock - OffsetAt(wallClock);
  instant = wallClock - OffsetAt(instant);
  return instant;
}

std::string LineTimeZone::Format(SystemTime instant) const {
  const minutes offset = OffsetAt(instant);
  data::Instant wallClock;
  wallClock.time = std::chrono::time_point_cast<data::Ticks>(instant + offset);
  return FormatWallClock(wallClock) + OffsetText(offset);
}

std::string LineTimeZone::Format(const bcl::DateTime& time) const {
  const auto instant = data::ToInstant(time);
  if (!instant.Ok()) {
    return "(" + instant.GetStatus().Message() + ")";
  }
  if (instant.Value().extreme != data::Extreme::None) {
    return data::FormatIso8601(instant.Value());
  }
  if (instant.Value().kind != bcl::DateTime_DateTimeKind_UTC) {
    return FormatWallClock(instant.Value());
  }
  const auto asSystemTime = data::ToSystemTime(time);
  if (!asSystemTime.Ok()) {  // beyond the years system_clock holds: stay in UTC
    return TrimFraction(data::FormatIso8601(instant.Value()));
  }
  return Format(asSystemTime.Value());
}

}  // namespace vrex::cli
