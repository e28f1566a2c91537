#pragma once
// One measured value in one line of text: a scalar with its unit, the
// vector kinds summarised by their size and ranges.

#include <string>

#include "MeasurementValue.pb.h"

namespace vrex::cli {

/// The kind's name as the contract spells it ("Scalar", "VectorTrack", ...);
/// "Invalid" when the value carries none.
std::string DescribeKind(const Korvan::KQ::DataContracts::MeasurementValue& value);

/// "72.4 dB re 20 µPa at 1500 rpm", "400 points, x 20..8000 Hz, y
/// 31.2..68.9 dB", "invalid: Sensor overload at 3800 rpm".
std::string SummariseValue(const Korvan::KQ::DataContracts::MeasurementValue& value);

}  // namespace vrex::cli
