#include "ZoneRules.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "CivilCalendar.h"

namespace vrex::data::internal {
namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::size_t kHeaderSize = 44;
// Real zone files are a few kilobytes; anything far larger is no zone file.
constexpr std::uintmax_t kLargestZoneFile = 1 << 20;

// Reading a POSIX TZ string: each step reads at the front of `text_` and
// drops what it read.
class FooterScanner {
 public:
  explicit FooterScanner(std::string_view text) : text_(text) {}

  bool AtEnd() const { return text_.empty(); }

  bool Next(char wanted) const { return !text_.empty() && text_.front() == wanted; }

  bool Take(char wanted) {
    if (text_.empty() || text_.front() != wanted) return false;
    text_.remove_prefix(1);
    return true;
  }

  // "CET" or "<+0330>": three or more characters.
  bool Name() {
    if (Take('<')) {
      const std::size_t close = text_.find('>');
      if (close == std::string_view::npos) return false;
      text_.remove_prefix(close + 1);
      return true;
    }
    std::size_t length = 0;
    while (length < text_.size() && std::isalpha(static_cast<unsigned char>(text_[length])))
      ++length;
    text_.remove_prefix(length);
    return length >= 3;
  }

  std::optional<int> Number() {
    std::size_t length = 0;
    int value = 0;
    while (length < text_.size() && length < 4 &&
           std::isdigit(static_cast<unsigned char>(text_[length]))) {
      value = value * 10 + (text_[length++] - '0');
    }
    if (length == 0) return std::nullopt;
    text_.remove_prefix(length);
    return value;
  }

  // "[+-]hh[:mm[:ss]]" in seconds.
  std::optional<std::int64_t> Clock() {
    const bool negative = Take('-');
    if (!negative) Take('+');
    const auto hours = Number();
    if (!hours) return std::nullopt;
    std::int64_t seconds = *hours * 3600;
    for (const int scale : {60, 1}) {
      if (!Take(':')) break;
      const auto part = Number();
      if (!part) return std::nullopt;
      seconds += *part * scale;
    }
    return negative ? -seconds : seconds;
  }

  // "Mm.w.d", "Jn" or "n", with an optional "/time".
  std::optional<ZoneFooter::Change> Change() {
    ZoneFooter::Change change;
    if (Take('M')) {
      const auto month = Number();
      const auto week = month && Take('.') ? Number() : std::nullopt;
      const auto day = week && Take('.') ? Number() : std::nullopt;
      if (!day || *month < 1 || *month > 12 || *week < 1 || *week > 5 || *day > 6)
        return std::nullopt;
      change = {'M', *month, *week, *day, change.secondsIntoDay};
    } else {
      change.form = Take('J') ? 'J' : 'n';
      const auto day = Number();
      if (!day || *day > 365) return std::nullopt;
      change.day = *day;
    }
    if (Take('/')) {
      const auto time = Clock();
      if (!time) return std::nullopt;
      change.secondsIntoDay = *time;
    }
    return change;
  }

 private:
  std::string_view text_;
};

bool IsLeapYear(std::int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

std::int64_t FlooredModulo(std::int64_t value, std::int64_t divisor) {
  return ((value % divisor) + divisor) % divisor;
}

// Days since 1970 of the day a change names in `year`.
std::int64_t DayOfChange(const ZoneFooter::Change& change, std::int64_t year) {
  const std::int64_t january1 = DaysFromCivil(year, 1, 1);
  if (change.form == 'J') {
    return january1 + change.day - 1 + (IsLeapYear(year) && change.day >= 60 ? 1 : 0);
  }
  if (change.form == 'n') return january1 + change.day;
  const auto month = static_cast<unsigned>(change.month);
  const std::int64_t first = DaysFromCivil(year, month, 1);
  const std::int64_t next =
      month == 12 ? DaysFromCivil(year + 1, 1, 1) : DaysFromCivil(year, month + 1, 1);
  // 1970-01-01 was a Thursday (day 4, Sunday being 0).
  std::int64_t day =
      first + FlooredModulo(change.day - FlooredModulo(first + 4, 7), 7) + (change.week - 1) * 7;
  while (day >= next) day -= 7;
  return day;
}

std::int64_t FooterOffset(const ZoneFooter& footer, std::int64_t unixSeconds) {
  if (!footer.daylightOffset) return footer.standardOffset;
  const std::int64_t localDays =
      (unixSeconds + footer.standardOffset) / kSecondsPerDay -
      ((unixSeconds + footer.standardOffset) % kSecondsPerDay < 0 ? 1 : 0);
  const std::int64_t year = CivilFromDays(localDays).year;
  // Each change is stated in the local time in force before it.
  const std::int64_t start = DayOfChange(footer.start, year) * kSecondsPerDay +
                             footer.start.secondsIntoDay - footer.standardOffset;
  const std::int64_t end = DayOfChange(footer.end, year) * kSecondsPerDay +
                           footer.end.secondsIntoDay - *footer.daylightOffset;
  const bool daylight = start < end ? (unixSeconds >= start && unixSeconds < end)
                                    : !(unixSeconds >= end && unixSeconds < start);
  return daylight ? *footer.daylightOffset : footer.standardOffset;
}

std::int64_t BigEndian(std::string_view bytes, std::size_t at, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i)
    value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  if (size == 4) return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
  return static_cast<std::int64_t>(value);
}

struct TzifCounts {
  std::size_t isUt, isStd, leap, time, type, chars;

  // The bytes of the data block that follows a header, with times of `timeSize` bytes.
  std::size_t BlockSize(std::size_t timeSize) const {
    return time * timeSize + time + type * 6 + chars + leap * (timeSize + 4) + isStd + isUt;
  }
};

std::optional<TzifCounts> ReadHeader(std::string_view bytes, std::size_t at) {
  if (bytes.size() < at + kHeaderSize || bytes.substr(at, 4) != "TZif") return std::nullopt;
  std::size_t counts[6];
  for (std::size_t i = 0; i < 6; ++i)
    counts[i] = static_cast<std::uint32_t>(BigEndian(bytes, at + 20 + 4 * i, 4));
  return TzifCounts{counts[0], counts[1], counts[2], counts[3], counts[4], counts[5]};
}

}  // namespace

std::optional<ZoneFooter> ParseZoneFooter(std::string_view text) {
  FooterScanner scan(text);
  ZoneFooter footer;
  const auto standard = scan.Name() ? scan.Clock() : std::nullopt;
  if (!standard) return std::nullopt;
  footer.standardOffset = -*standard;  // POSIX counts west of UTC as positive
  if (scan.AtEnd()) return footer;
  if (!scan.Name()) return std::nullopt;
  footer.daylightOffset = footer.standardOffset + 3600;
  if (!scan.AtEnd() && !scan.Next(',')) {
    const auto daylight = scan.Clock();
    if (!daylight) return std::nullopt;
    footer.daylightOffset = -*daylight;
  }
  if (scan.AtEnd()) {  // no rule given: the default of POSIX, the US rule
    footer.start = {'M', 3, 2, 0, 2 * 3600};
    footer.end = {'M', 11, 1, 0, 2 * 3600};
    return footer;
  }
  const auto start = scan.Take(',') ? scan.Change() : std::nullopt;
  const auto end = start && scan.Take(',') ? scan.Change() : std::nullopt;
  if (!end || !scan.AtEnd()) return std::nullopt;
  footer.start = *start;
  footer.end = *end;
  return footer;
}

std::shared_ptr<const ZoneRules> ZoneRules::Load(const std::string& ianaId) {
  if (ianaId.empty() || ianaId.front() == '/' || ianaId.find("..") != std::string::npos)
    return nullptr;
  const char* directory = std::getenv("TZDIR");
  const std::filesystem::path path =
      std::filesystem::path(directory != nullptr && *directory != '\0' ? directory
                                                                       : "/usr/share/zoneinfo") /
      ianaId;
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error) ||
      std::filesystem::file_size(path, error) > kLargestZoneFile) {
    return nullptr;
  }
  std::ifstream file(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  auto rules = Parse(bytes);
  return rules ? std::make_shared<const ZoneRules>(std::move(*rules)) : nullptr;
}

std::optional<ZoneRules> ZoneRules::Parse(std::string_view bytes) {
  const auto first = ReadHeader(bytes, 0);
  if (!first) return std::nullopt;
  // Version 2 and later repeat the data with 64-bit times, then a footer.
  const bool wide = bytes[4] >= '2';
  std::size_t at = 0;
  auto counts = first;
  if (wide) {
    at = kHeaderSize + first->BlockSize(4);
    counts = ReadHeader(bytes, at);
    if (!counts) return std::nullopt;
  }
  const std::size_t timeSize = wide ? 8 : 4;
  const std::size_t data = at + kHeaderSize;
  if (counts->type == 0 || bytes.size() < data + counts->BlockSize(timeSize)) return std::nullopt;

  ZoneRules rules;
  const std::size_t indices = data + counts->time * timeSize;
  const std::size_t types = indices + counts->time;
  const auto offsetOfType = [&](std::size_t type) { return BigEndian(bytes, types + type * 6, 4); };
  rules.offsetBefore_ = offsetOfType(0);
  for (std::size_t i = 0; i < counts->time; ++i) {
    const auto type = static_cast<unsigned char>(bytes[indices + i]);
    if (type >= counts->type) return std::nullopt;
    rules.transitions_.push_back(BigEndian(bytes, data + i * timeSize, timeSize));
    rules.offsets_.push_back(offsetOfType(type));
  }
  if (!std::is_sorted(rules.transitions_.begin(), rules.transitions_.end())) return std::nullopt;
  if (wide) {
    const std::size_t footer = data + counts->BlockSize(timeSize);
    const std::size_t close = bytes.find('\n', footer + 1);
    if (footer < bytes.size() && bytes[footer] == '\n' && close != std::string_view::npos) {
      rules.footer_ = ParseZoneFooter(bytes.substr(footer + 1, close - footer - 1));
    }
  }
  return rules;
}

std::chrono::seconds ZoneRules::OffsetAt(std::int64_t unixSeconds) const {
  if (transitions_.empty() || unixSeconds < transitions_.front()) {
    return std::chrono::seconds(
        transitions_.empty() && footer_ ? FooterOffset(*footer_, unixSeconds) : offsetBefore_);
  }
  if (unixSeconds >= transitions_.back() && footer_) {
    return std::chrono::seconds(FooterOffset(*footer_, unixSeconds));
  }
  const auto after = std::upper_bound(transitions_.begin(), transitions_.end(), unixSeconds);
  return std::chrono::seconds(offsets_[static_cast<std::size_t>(after - transitions_.begin()) - 1]);
}

}  // namespace vrex::data::internal
