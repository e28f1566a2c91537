#pragma once
// The averaged archives a line keeps: "Shift" averages each of the three
// eight-hour shifts (06:00, 14:00, 22:00 local time), "Day" each local day.
// An average is the mean of the values of the period's passing tests; it
// exists once its period is over and when the period has a passing test.
// Nothing is stored: an average's identifier is derived from its line,
// archive and period, and its values are computed whenever they are asked
// for. docs/plant.md gives the rules.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "AverageArchive.pb.h"
#include "MeasurementContainer.pb.h"
#include "plant/PlantLine.h"
#include "plant/Sqlite.h"

namespace vrex::stub::plant {

/// A named averaged archive: periods of `hours` hours from `firstHour` local time.
struct AveragedArchive {
  const char* name;
  int number;  ///< its digit in an average's identifier
  int firstHour;
  int hours;
};

/// One average of a line: its archive and period (counted from the first
/// period of 1970 in local time) and the period's bounds (seconds since 1970, UTC).
struct Average {
  std::int32_t id = 0;
  const AveragedArchive* archive = nullptr;
  std::int64_t period = 0;
  std::int64_t start = 0;
  std::int64_t end = 0;  ///< the next period's start
};

/// The averages of `wanted.Name` on `line` before `time`: at most
/// `NrAveragesToLoad`, of periods that ended after `time` − `DaysToInclude`
/// days and at or before `time`, oldest first. None for a count or number of
/// days of 0 or less; 404 for an archive the line does not keep.
std::vector<Average> LastAverages(SqliteDatabase& db, const PlantLine& line, std::int64_t time,
                                  const Korvan::KQ::DataContracts::AverageArchive& wanted);

/// The average `id` names, when it is one of `line`'s.
std::optional<Average> AverageById(SqliteDatabase& db, const PlantLine& line, std::int32_t id);

/// The average as an archive holds it: one measurement under its identifier,
/// the mean of its passing tests' values.
Korvan::KQ::DataContracts::MeasurementContainer AverageMeasurement(SqliteDatabase& db,
                                                                   const PlantLine& line,
                                                                   const Average& average);

}  // namespace vrex::stub::plant
