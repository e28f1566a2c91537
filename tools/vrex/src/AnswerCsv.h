#pragma once
// Answers as CSV for spreadsheets and notebooks: one header row, times in
// ISO 8601 with the offset of the line's zone, measured curves expanded to
// one row per point.

#include <string>

#include "GeneralInformationContainer.pb.h"
#include "LogEntryContainer.pb.h"
#include "MeasurementContainer.pb.h"
#include "vrex/data/LineTimeZone.h"

namespace vrex::cli {

/// id, time, serial, type, bench, result, test_kind, ordinal, last.
std::string TestsCsv(const Korvan::KQ::DataContracts::GeneralInformationContainer& tests,
                     const data::LineTimeZone& zone);

/// test_id, serial, result, quantity, kind, x, x_unit, z, z_unit, y,
/// y_unit, limit, note: a row per point of every value (a scalar's x is its
/// position; limit is the first upper limit's y at that point), tests in
/// ascending identifier order; an invalid value or one not sent is one row
/// without numbers whose note says why.
std::string MeasurementsCsv(const Korvan::KQ::DataContracts::MeasurementContainer& container);

/// time, level, source, event, message, exception.
std::string LogCsv(const Korvan::KQ::DataContracts::LogEntryContainer& log,
                   const data::LineTimeZone& zone);

}  // namespace vrex::cli
