#pragma once
// One measured value in one line of text: a scalar with its unit, the
// vector kinds summarised by their size and ranges.

#include <string>

#include "MeasurementValue.pb.h"
#include "vrex/data/Units.h"

namespace vrex::cli {

/// How vrex's tables, CSV and plots write a decibel reference: as the server
/// sent it ("dB re 2e-05 Pa"), so that scripts reading vrex's output keep
/// working.
inline constexpr data::DecibelReference kDecibelReference = data::DecibelReference::AsSent;

/// The kind's name as the contract spells it ("Scalar", "VectorTrack", ...);
/// "Invalid" when the value carries none.
std::string DescribeKind(const Korvan::KQ::DataContracts::MeasurementValue& value);

/// "72.4 dB re 2e-05 Pa at 1500 rpm", "400 points, x 20..8000 Hz, y
/// 31.2..68.9 dB", "invalid: Sensor overload at 3800 rpm".
std::string SummariseValue(const Korvan::KQ::DataContracts::MeasurementValue& value);

}  // namespace vrex::cli
