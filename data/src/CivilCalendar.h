#pragma once
// The proleptic Gregorian calendar over a count of days since 1970-01-01,
// for the ISO 8601 text of any contract time (years far before and after
// what std::chrono's calendar of C++17 lacks).

#include <cstdint>

namespace vrex::data::internal {

struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

/// The date of a day count since 1970-01-01.
CivilDate CivilFromDays(std::int64_t days);

/// Days since 1970-01-01 of a date: the inverse of CivilFromDays.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day);

/// Whether year, month and day name a day of the calendar (29 February only in leap years).
bool IsValidDate(int year, int month, int day);

}  // namespace vrex::data::internal
