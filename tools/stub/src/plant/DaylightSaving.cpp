#include "plant/DaylightSaving.h"

namespace vrex::stub::plant {

namespace {

/// Days since 1970-01-01 of a date of the proleptic Gregorian calendar.
std::int64_t DaysFromCivil(std::int64_t year, int month, int day) {
  year -= month <= 2;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

std::int64_t YearOf(std::int64_t time) {
  const std::int64_t days = time >= 0 ? time / 86400 : (time - 86399) / 86400;
  std::int64_t year = 1970 + days / 366;
  while (DaysFromCivil(year + 1, 1, 1) <= days) ++year;
  while (DaysFromCivil(year, 1, 1) > days) --year;
  return year;
}

/// The `nth` Sunday (1 the first) of a month, or with `nth` 0 its last one.
std::int64_t Sunday(std::int64_t year, int month, int nth) {
  if (nth == 0) {
    const std::int64_t last = DaysFromCivil(year, month + 1, 1) - 1;
    return last - (last + 4) % 7;  // 1970-01-01 was a Thursday: (days + 4) % 7 is 0 on Sundays
  }
  const std::int64_t first = DaysFromCivil(year, month, 1);
  return first + (7 - (first + 4) % 7) % 7 + 7 * (nth - 1);
}

}  // namespace

int UtcOffsetMinutesAt(std::string_view ianaZone, int standardMinutes, bool daylightSaving,
                       std::int64_t time) {
  if (!daylightSaving) return standardMinutes;
  const std::int64_t year = YearOf(time + std::int64_t{standardMinutes} * 60);
  std::int64_t start = 0, end = 0;  // UTC seconds of the two changes
  if (ianaZone.rfind("Europe/", 0) == 0) {
    start = Sunday(year, 3, 0) * 86400 + 3600;
    end = Sunday(year, 10, 0) * 86400 + 3600;
  } else if (ianaZone.rfind("America/", 0) == 0) {
    start = Sunday(year, 3, 2) * 86400 + 7200 - std::int64_t{standardMinutes} * 60;
    end = Sunday(year, 11, 1) * 86400 + 7200 - std::int64_t{standardMinutes + 60} * 60;
  } else {
    return standardMinutes;
  }
  return time >= start && time < end ? standardMinutes + 60 : standardMinutes;
}

}  // namespace vrex::stub::plant
