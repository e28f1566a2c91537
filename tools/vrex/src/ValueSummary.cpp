#include "ValueSummary.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>
#include <vector>

#include "vrex/data/Axes.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Tracks.h"

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

std::string UnitSymbol(en::UnitId id) {
  static const std::array<std::pair<en::UnitId, std::string_view>, 16> symbols = {{
      {en::percent, "%"},
      {en::second, "s"},
      {en::hertz, "Hz"},
      {en::rpm, "rpm"},
      {en::volt, "V"},
      {en::pascal, "Pa"},
      {en::newton_metre, "N m"},
      {en::metre_per_second_squared, "m/s^2"},
      {en::gravity, "g"},
      {en::metre, "m"},
      {en::degree, "deg"},
      {en::radian, "rad"},
      {en::kilo_metre_per_hour, "km/h"},
      {en::miles_per_hour, "mph"},
      {en::metres_per_second, "m/s"},
      {en::bar, "bar"},
  }};
  for (const auto& [unit, symbol] : symbols) {
    if (unit == id) {
      return std::string(symbol);
    }
  }
  return id == en::count ? "" : en::UnitId_Name(id);
}

// The SI prefix of a power of ten that is a multiple of three; "10^e " else.
std::string PrefixOf(int exponent) {
  static constexpr std::array<std::string_view, 9> prefixes = {"p", "n", "\u00b5", "m", "",
                                                               "k", "M", "G",      "T"};
  if (exponent % 3 == 0 && exponent >= -12 && exponent <= 12) {
    return std::string(prefixes[static_cast<std::size_t>(exponent / 3 + 4)]);
  }
  return "10^" + std::to_string(exponent) + " ";
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
    text += ", x " + Range(x, DescribeUnit(xUnit));
  }
  if (!y.empty()) {
    text += ", y " + Range(y, DescribeUnit(yUnit));
  }
  return text;
}

std::string ScalarText(const dc::Scalar& scalar) {
  const std::string unit = DescribeUnit(scalar.unit());
  std::string text = Number(scalar.value()) + (unit.empty() ? "" : " " + unit);
  if (scalar.has_position()) {
    const std::string positionUnit = DescribeUnit(scalar.position().unit());
    text += " at " + Number(scalar.position().value()) +
            (positionUnit.empty() ? "" : " " + positionUnit);
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

std::string DescribeUnit(const dc::Unit& unit) {
  if (unit.id() == en::invalid && unit.scale() == en::Linear) {
    return "";
  }
  std::string text = unit.id() == en::invalid ? "" : PrefixOf(unit.exponent()) + UnitSymbol(unit.id());
  if (unit.power() != 0 && unit.power() != 1) {
    text += "^" + std::to_string(unit.power());
  }
  switch (unit.scale()) {
    case en::Decibel:
      return unit.logref() != 0.0F ? "dB re " + Number(unit.logref()) + " " + text
                                   : "dB" + (text.empty() ? "" : " " + text);
    case en::Logarithm:
      return "log " + text;
    default:
      return text;
  }
}

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
