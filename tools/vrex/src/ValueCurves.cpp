#include "ValueCurves.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "vrex/data/Axes.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Tracks.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;
namespace en = ::Korvan::KQ::DataContracts::Enumerator;

constexpr double kNoPosition = std::numeric_limits<double>::quiet_NaN();

Curve PointCurve(double x, float y) { return Curve{std::nullopt, {x}, {y}}; }

template <class Points>
Curve OrdinateCurve(std::vector<double> x, const Points& points) {
  Curve curve;
  curve.x = std::move(x);
  for (const auto& point : points) curve.y.push_back(point.y());
  return curve;
}

template <class Points>
Curve PairCurve(const Points& points) {
  Curve curve;
  for (const dc::ScalarTrackPoint& point : points) {
    curve.x.push_back(point.x());
    curve.y.push_back(point.y());
  }
  return curve;
}

std::vector<Curve> RowCurves(const data::Track& track) {
  std::vector<Curve> curves;
  for (const data::TrackRow& row : track.rows) {
    Curve curve;
    curve.z = row.z;
    curve.y = row.ordinates;
    curve.x.assign(track.abscissas.begin(), track.abscissas.begin() + row.ordinates.size());
    curves.push_back(std::move(curve));
  }
  return curves;
}

// A limit's elements in the value's frame, so that the data helpers place them.
template <class Value, class Elements>
Value Reframed(const Value& value, const Elements& elements) {
  Value frame = value;
  frame.clear_limits();
  *frame.mutable_values() = elements;
  return frame;
}

template <class LimitList, class ToCurves>
std::vector<LimitCurves> Limits(const LimitList& limits, ToCurves toCurves) {
  std::vector<LimitCurves> result;
  for (const auto& limit : limits) {
    result.push_back({limit.limit().description(), limit.limit().limittype(), toCurves(limit)});
  }
  return result;
}

}  // namespace

ValueCurves CurvesOf(const dc::MeasurementValue& value) {
  ValueCurves curves;
  curves.kind = data::KindOf(value);
  switch (curves.kind) {
    case en::Scalar:
      curves.xUnit = value.scalar().position().unit();
      curves.yUnit = value.scalar().unit();
      curves.curves.push_back(PointCurve(
          value.scalar().has_position() ? value.scalar().position().value() : kNoPosition,
          value.scalar().value()));
      break;
    case en::ScalarTrack:
      curves.xUnit = value.scalartrack().xunit();
      curves.yUnit = value.scalartrack().yunit();
      curves.curves.push_back(PairCurve(value.scalartrack().values()));
      break;
    case en::Vector:
      curves.xUnit = value.vector().xunit();
      curves.yUnit = value.vector().yunit();
      curves.curves.push_back(
          OrdinateCurve(data::Abscissas(value.vector()), value.vector().values()));
      break;
    case en::VectorTrack:
      curves.xUnit = value.vectortrack().xunit();
      curves.yUnit = value.vectortrack().yunit();
      curves.zUnit = value.vectortrack().zunit();
      curves.curves = RowCurves(data::ReadTrack(value.vectortrack()));
      break;
    case en::Matrix:
      curves.xUnit = value.matrix().xunit();
      curves.yUnit = value.matrix().yunit();
      curves.zUnit = value.matrix().zunit();
      curves.curves = RowCurves(data::ReadTrack(value.matrix()));
      break;
    default:
      break;
  }
  return curves;
}

std::vector<LimitCurves> LimitsOf(const dc::MeasurementValue& value) {
  switch (data::KindOf(value)) {
    case en::Scalar:
      return Limits(value.scalar().limits(), [](const dc::ScalarLimitContainer& limit) {
        return std::vector<Curve>{PointCurve(kNoPosition, limit.scalar())};
      });
    case en::ScalarTrack:
      return Limits(value.scalartrack().limits(),
                    [](const dc::ScalarTrackPointsLimitContainer& limit) {
                      return std::vector<Curve>{PairCurve(limit.scalartrackpoints())};
                    });
    case en::Vector:
      return Limits(value.vector().limits(), [&value](const dc::VectorPointsLimitContainer& limit) {
        const dc::Vector frame = Reframed(value.vector(), limit.vectorpoints());
        return std::vector<Curve>{OrdinateCurve(data::Abscissas(frame), frame.values())};
      });
    case en::VectorTrack:
      return Limits(value.vectortrack().limits(),
                    [&value](const dc::VectorTrackElementsLimitContainer& limit) {
                      return RowCurves(data::ReadTrack(
                          Reframed(value.vectortrack(), limit.vectortrackelements())));
                    });
    case en::Matrix:
      return Limits(
          value.matrix().limits(), [&value](const dc::MatrixElementsLimitContainer& limit) {
            return RowCurves(data::ReadTrack(Reframed(value.matrix(), limit.matrixelements())));
          });
    default:
      return {};
  }
}

std::string FloatText(float value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return std::string(text, end);
}

std::string AxisText(double value) {
  if (std::isnan(value)) {
    return "";
  }
  char text[32];
  const auto end =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, 8).ptr;
  return std::string(text, end);
}

}  // namespace vrex::cli
