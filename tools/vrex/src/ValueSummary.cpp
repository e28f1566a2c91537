#include "ValueSummary.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "vrex/data/Axes.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Tracks.h"
#include "vrex/data/Units.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;
namespace en = ::Korvan::KQ::DataContracts::Enumerator;

std::string Number(double value) {
  std::ostringstream text;
  text.precision(6);
  text << value;
  return text.str();
}

std::string Range(const std::vector<double>& values, const std::string& unit) {
  if (values.empty()) {
    return "";
  }
  const auto [low, high] = std::minmax_element(values.begin(), values.end());
  return Number(*low) + ".." + Number(*high) + (unit.empty() ? "" : " " + unit);
}

template <class Points>
std::vector<double> Ordinates(const Points& points) {
  std::vector<double> values;
  for (const auto& point : points) {
    values.push_back(point.y());
  }
  return values;
}

std::vector<double> TrackOrdinates(const data::Track& track) {
  std::vector<double> values;
  for (const data::TrackRow& row : track.rows) {
    values.insert(values.end(), row.ordinates.begin(), row.ordinates.end());
  }
  return values;
}

std::string Axes(const std::vector<double>& x, const dc::Unit& xUnit, const std::vector<double>& y,
                 const dc::Unit& yUnit) {
  std::string text;
  if (!x.empty()) {
    text += ", x " + Range(x, data::UnitText(xUnit, kDecibelReference));
  }
  if (!y.empty()) {
    text += ", y " + Range(y, data::UnitText(yUnit, kDecibelReference));
  }
  return text;
}

std::string ScalarText(const dc::Scalar& scalar) {
  std::string text = data::FormatWithUnit(scalar.value(), scalar.unit(), kDecibelReference);
  if (scalar.has_position()) {
    text += " at " + data::FormatWithUnit(scalar.position().value(), scalar.position().unit(),
                                          kDecibelReference);
  }
  return text;
}

std::string ScalarTrackText(const dc::ScalarTrack& track) {
  std::vector<double> x;
  for (const dc::ScalarTrackPoint& point : track.values()) {
    x.push_back(point.x());
  }
  return std::to_string(track.values_size()) + " points" +
         Axes(x, track.xunit(), Ordinates(track.values()), track.yunit());
}

std::string VectorText(const dc::Vector& vector) {
  return std::to_string(vector.values_size()) + " points" +
         Axes(data::Abscissas(vector), vector.xunit(), Ordinates(vector.values()),
              vector.yunit());
}

std::string RowsText(const data::Track& track, const dc::Unit& xUnit, const dc::Unit& yUnit,
                     std::string_view rowName) {
  return std::to_string(track.rows.size()) + " " + std::string(rowName) + " of " +
         std::to_string(track.abscissas.size()) + " points" +
         Axes(track.abscissas, xUnit, TrackOrdinates(track), yUnit);
}

}  // namespace

std::string DescribeKind(const dc::MeasurementValue& value) {
  return en::DataType_Name(data::KindOf(value));
}

std::string SummariseValue(const dc::MeasurementValue& value) {
  switch (data::KindOf(value)) {
    case en::Scalar:
      return ScalarText(value.scalar());
    case en::ScalarTrack:
      return ScalarTrackText(value.scalartrack());
    case en::Vector:
      return VectorText(value.vector());
    case en::VectorTrack:
      return RowsText(data::ReadTrack(value.vectortrack()), value.vectortrack().xunit(),
                      value.vectortrack().yunit(), "vectors");
    case en::Matrix:
      return RowsText(data::ReadTrack(value.matrix()), value.matrix().xunit(),
                      value.matrix().yunit(), "rows");
    case en::Unknown:
      return "several kinds at once";
    default:
      return value.invalid().empty() ? "no value" : "invalid: " + value.invalid();
  }
}

}  // namespace vrex::cli
