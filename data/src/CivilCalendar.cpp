#include "CivilCalendar.h"

namespace vrex::data::internal {

// Proleptic Gregorian date of a day count since 1970-01-01. Works in 400-year
// eras that start on March 1st, so that the leap day ends each era's year.
CivilDate CivilFromDays(std::int64_t days) {
  constexpr std::int64_t kDaysPerEra = 146097;
  const std::int64_t shifted = days + 719468;  // days since 0000-03-01
  const std::int64_t era = (shifted >= 0 ? shifted : shifted - kDaysPerEra + 1) / kDaysPerEra;
  const auto dayOfEra = static_cast<unsigned>(shifted - era * kDaysPerEra);
  const unsigned yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned marchMonth = (5 * dayOfYear + 2) / 153;  // 0 = March
  const unsigned day = dayOfYear - (153 * marchMonth + 2) / 5 + 1;
  const unsigned month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
  const std::int64_t year = era * 400 + yearOfEra + (month <= 2 ? 1 : 0);
  return {year, month, day};
}

// Days since 1970-01-01 of a proleptic Gregorian date: the inverse of
// CivilFromDays, in the same March-based eras.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

bool IsValidDate(int year, int month, int day) {
  static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12 || day < 1 || day > kDays[month - 1]) {
    return false;
  }
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month != 2 || day <= 28 || leap;
}

}  // namespace vrex::data::internal
