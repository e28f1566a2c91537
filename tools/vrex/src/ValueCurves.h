#pragma once
// A measured value as curves of points, the shape that plots and exports
// need: a scalar track or a vector is one curve, a vector track or a matrix
// one curve per row with the row's z, a scalar one point at its position.
// Limits come as curves of the same shape as the value they bound.

#include <optional>
#include <string>
#include <vector>

#include "DataType.pb.h"
#include "LimitType.pb.h"
#include "MeasurementValue.pb.h"
#include "Unit.pb.h"

namespace vrex::cli {

struct Curve {
  std::optional<double> z;  ///< the row's z (vector tracks and matrices)
  std::vector<double> x;    ///< NaN where there is none (a scalar without position)
  std::vector<float> y;     ///< one per x
};

struct ValueCurves {
  Korvan::KQ::DataContracts::Enumerator::DataType kind{};
  Korvan::KQ::DataContracts::Unit xUnit;  ///< a scalar's: the unit of its position
  Korvan::KQ::DataContracts::Unit yUnit;
  Korvan::KQ::DataContracts::Unit zUnit;
  std::vector<Curve> curves;  ///< none for an invalid value or one of several kinds
};

struct LimitCurves {
  std::string description;
  Korvan::KQ::DataContracts::Enumerator::LimitType type{};
  std::vector<Curve> curves;
};

ValueCurves CurvesOf(const Korvan::KQ::DataContracts::MeasurementValue& value);

/// The limits of the value's kind, in the order sent.
std::vector<LimitCurves> LimitsOf(const Korvan::KQ::DataContracts::MeasurementValue& value);

/// A float as the shortest text that reads back as the same float ("72.4").
std::string FloatText(float value);

/// An abscissa or z to eight significant digits, enough for the float
/// inputs it was computed from; empty for NaN.
std::string AxisText(double value);

}  // namespace vrex::cli
