#include "vrex/data/LineTimeZone.h"

#include "ZoneRules.h"
#include "vrex/data/Iso8601.h"
#include "vrex/data/Time.h"

namespace vrex::data {

namespace {

using std::chrono::minutes;

std::string OffsetText(minutes offset) {
  return offset.count() == 0 ? "Z" : FormatUtcOffset(offset);
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

std::string FormatWallClock(const Instant& instant) { return TrimFraction(FormatIso8601(instant)); }

}  // namespace

LineTimeZone LineTimeZone::Utc() { return LineTimeZone(); }

LineTimeZone LineTimeZone::Of(const Korvan::KQ::DataContracts::Line& line) {
  return line.has_timezoneid() ? Of(line.timezoneid()) : Utc();
}

LineTimeZone LineTimeZone::Of(const Korvan::KQ::DataContracts::TimezoneInfo& zone) {
  return Named(zone.ianatimezoneid(), minutes(zone.utcoffsetinminutes()));
}

LineTimeZone LineTimeZone::Named(std::string ianaId, minutes fallbackOffset) {
  LineTimeZone zone;
  zone.ianaId_ = std::move(ianaId);
  zone.fallbackOffset_ = fallbackOffset;
  if (zone.ianaId_ == "UTC" || zone.ianaId_ == "Etc/UTC") {
    zone.ianaId_.clear();
  }
  zone.rules_ = internal::ZoneRules::Load(zone.ianaId_);
  return zone;
}

std::string LineTimeZone::Name() const {
  if (!ianaId_.empty()) {
    return ianaId_;
  }
  return fallbackOffset_.count() == 0 ? "UTC" : "UTC" + OffsetText(fallbackOffset_);
}

minutes LineTimeZone::OffsetAt(SystemTime instant) const {
  if (!rules_) {
    return fallbackOffset_;
  }
  const auto seconds = std::chrono::floor<std::chrono::seconds>(instant.time_since_epoch());
  return std::chrono::duration_cast<minutes>(rules_->OffsetAt(seconds.count()));
}

LineTimeZone::SystemTime LineTimeZone::FromWallClock(SystemTime wallClock) const {
  // The offset at the wall-clock reading taken as UTC is off by at most one
  // change of offset; a second round settles it.
  SystemTime instant = wallClock - OffsetAt(wallClock);
  instant = wallClock - OffsetAt(instant);
  return instant;
}

std::string LineTimeZone::Format(SystemTime instant) const {
  const minutes offset = OffsetAt(instant);
  Instant wallClock;
  wallClock.time = std::chrono::time_point_cast<Ticks>(instant + offset);
  return FormatWallClock(wallClock) + OffsetText(offset);
}

std::string LineTimeZone::Format(const bcl::DateTime& time) const {
  const auto instant = ToInstant(time);
  if (!instant.Ok()) {
    return "(" + instant.GetStatus().Message() + ")";
  }
  if (instant.Value().extreme != Extreme::None) {
    return FormatIso8601(instant.Value());
  }
  if (instant.Value().kind != bcl::DateTime_DateTimeKind_UTC) {
    return FormatWallClock(instant.Value());
  }
  const auto asSystemTime = ToSystemTime(time);
  if (!asSystemTime.Ok()) {  // beyond the years system_clock holds: stay in UTC
    return TrimFraction(FormatIso8601(instant.Value()));
  }
  return Format(asSystemTime.Value());
}

}  // namespace vrex::data
