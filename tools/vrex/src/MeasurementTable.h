#pragma once
// The measurements of tests: per test a heading, a table of its quantities
// with kind and value, and its defects.

#include <string>

#include "LineTimeZone.h"
#include "MeasurementContainer.pb.h"

namespace vrex::cli {

/// Tests in ascending identifier order; "No measurements match." when empty.
std::string RenderMeasurements(const Korvan::KQ::DataContracts::MeasurementContainer& container,
                               const LineTimeZone& zone);

}  // namespace vrex::cli
