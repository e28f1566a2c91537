#include "plant/TestValues.h"

#include <algorithm>
#include <cmath>

#include "plant/PlantRandom.h"

namespace vrex::stub::plant {

namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

enum QuantityId {
  kLevel = 1,
  kOrderTrack = 2,
  kIdleSpectrum = 3,
  kRunUpSpectra = 4,
  kOrderMap = 5
};

// The run-up's speeds: the track's points and the rows of spectra and order map.
constexpr double kTrackFromRpm = 800, kTrackStepRpm = 100;
constexpr int kTrackPoints = 33;
constexpr double kRowsFromRpm = 1000, kRowsStepRpm = 200;
constexpr int kRows = 16;
constexpr double kRunUpDeltaHz = 5;
constexpr int kRunUpLines = 800;
constexpr double kOrderDelta = 0.5;
constexpr int kOrderColumns = 100;
constexpr double kNominalIdleRpm = 900;
constexpr float kLevelLimit = 78;

/// Orders of the idle spectrum and their nominal levels (dB): the shaft's
/// first three and the gear mesh (23 teeth) with two harmonics.
struct Order {
  double order;
  double level;
};
const std::vector<Order> kIdleOrders = {{1, 38}, {2, 44}, {3, 35}, {23, 52}, {46, 45}, {69, 40}};

// Seeds of the separate streams of one test, so that a quantity's values do
// not depend on which other quantities were asked for.
std::uint64_t Stream(std::uint64_t seed, int quantityId) {
  return seed * 0x2545F4914F6CDD1DULL + static_cast<std::uint64_t>(quantityId);
}

dc::Unit MakeUnit(en::UnitId id, en::Scale scale = en::Linear) {
  dc::Unit unit;
  unit.set_id(id);
  unit.set_scale(scale);
  if (scale == en::Decibel) unit.set_logref(2e-5F);
  return unit;
}

dc::AxisRange Axis(double start, double delta, int length) {
  dc::AxisRange axis;
  axis.set_start(static_cast<float>(start));
  axis.set_delta(static_cast<float>(delta));
  axis.set_length(static_cast<unsigned>(length));
  return axis;
}

dc::Limit UpperLimit(int quantityId) {
  dc::Limit limit;
  limit.set_description(
      PlantQuantities()[static_cast<std::size_t>(quantityId - 1)].limitDescription);
  limit.set_limittype(en::UpperLimit);
  return limit;
}

double TrackNominal(double rpm) {
  const double r = (rpm - kTrackFromRpm) / (kTrackPoints * kTrackStepRpm);
  return 0.4 + 0.9 * r * r;
}

double IdleRpm(std::uint64_t seed) {
  PlantRandom random(Stream(seed, 0));
  return kNominalIdleRpm + random.Between(-10, 10);
}

double IdleFloor(double hz) { return 28 - 6 * std::log10(1 + hz / 100); }

/// Half the width of the band, in lines, in which the limit allows an order's peak.
int OrderBand(double hz) { return std::max(4, static_cast<int>(0.03 * hz / kSpectrumDeltaHz)); }

const std::vector<float>& IdleLimit() {
  static const std::vector<float> kLimit = [] {
    std::vector<float> limit(kSpectrumLines);
    for (int i = 0; i < kSpectrumLines; ++i)
      limit[i] = static_cast<float>(IdleFloor(i * kSpectrumDeltaHz) + 12);
    for (const Order& order : kIdleOrders) {
      const double hz = order.order * kNominalIdleRpm / 60;
      const int centre = static_cast<int>(std::lround(hz / kSpectrumDeltaHz));
      const int band = OrderBand(hz);
      for (int i = std::max(0, centre - band); i <= std::min(kSpectrumLines - 1, centre + band);
           ++i) {
        limit[i] = std::max(limit[i], static_cast<float>(order.level + 8));
      }
    }
    return limit;
  }();
  return kLimit;
}

int NearestIndex(double position, double start, double delta, int length) {
  const long index = std::lround((position - start) / delta);
  return static_cast<int>(std::clamp<long>(index, 0, length - 1));
}

double OrderMapNominal(double order, double rpm) {
  const double r = (rpm - kRowsFromRpm) / (kRows * kRowsStepRpm);
  if (std::abs(order - 2) < 1e-9) return 48 + 6 * r;
  if (std::abs(order - 23) < 1e-9) return 52 + 10 * r;
  if (std::abs(order - 46) < 1e-9) return 45 + 8 * r;
  return 30;
}

double OrderMapLimit(double order, double rpm) {
  return OrderMapNominal(order, rpm) + 8 + (order == 2 || order == 23 || order == 46 ? 0 : 7);
}

void Level(std::uint64_t seed, dc::MeasurementValue& value) {
  PlantRandom random(Stream(seed, kLevel));
  dc::Scalar& scalar = *value.mutable_scalar();
  scalar.set_value(static_cast<float>(70 + random.Between(-2.5, 2.5)));
  *scalar.mutable_unit() = MakeUnit(en::pascal, en::Decibel);
  scalar.mutable_position()->set_value(1500);
  *scalar.mutable_position()->mutable_unit() = MakeUnit(en::rpm);
  auto& limit = *scalar.add_limits();
  limit.set_scalar(kLevelLimit);
  *limit.mutable_limit() = UpperLimit(kLevel);
}

void OrderTrack(std::uint64_t seed, dc::MeasurementValue& value) {
  PlantRandom random(Stream(seed, kOrderTrack));
  dc::ScalarTrack& track = *value.mutable_scalartrack();
  *track.mutable_xunit() = MakeUnit(en::rpm);
  *track.mutable_yunit() = MakeUnit(en::metre_per_second_squared);
  auto& limit = *track.add_limits();
  *limit.mutable_limit() = UpperLimit(kOrderTrack);
  const double gain = random.Between(0.85, 1.15);
  for (int i = 0; i < kTrackPoints; ++i) {
    const double rpm = kTrackFromRpm + i * kTrackStepRpm;
    auto& point = *track.add_values();
    point.set_x(static_cast<float>(rpm));
    point.set_y(static_cast<float>(TrackNominal(rpm) * gain + random.Between(-0.05, 0.05)));
    auto& bound = *limit.add_scalartrackpoints();
    bound.set_x(static_cast<float>(rpm));
    bound.set_y(static_cast<float>(TrackNominal(rpm) * 1.15 + 0.6));
  }
}

void IdleSpectrum(std::uint64_t seed, dc::MeasurementValue& value) {
  PlantRandom random(Stream(seed, kIdleSpectrum));
  std::vector<double> level(kSpectrumLines);
  for (int i = 0; i < kSpectrumLines; ++i)
    level[i] = IdleFloor(i * kSpectrumDeltaHz) + random.Between(-2, 2);
  const double idleHz = IdleRpm(seed) / 60;
  for (const Order& order : kIdleOrders) {
    const double peak = order.level + random.Between(-3, 3);
    const double centre = order.order * idleHz / kSpectrumDeltaHz;
    const int first = std::max(0, static_cast<int>(centre) - 3);
    for (int i = first; i <= std::min(kSpectrumLines - 1, static_cast<int>(centre) + 4); ++i) {
      const double distance = i - centre;
      level[i] = std::max(level[i], peak - 6 * distance * distance);
    }
  }
  dc::Vector& vector = *value.mutable_vector();
  *vector.mutable_xunit() = MakeUnit(en::hertz);
  *vector.mutable_yunit() = MakeUnit(en::pascal, en::Decibel);
  *vector.mutable_xaxisrange() = Axis(0, kSpectrumDeltaHz, kSpectrumLines);
  vector.mutable_values()->Reserve(kSpectrumLines);
  for (double y : level) vector.add_values()->set_y(static_cast<float>(y));
  auto& limit = *vector.add_limits();
  *limit.mutable_limit() = UpperLimit(kIdleSpectrum);
  limit.mutable_vectorpoints()->Reserve(kSpectrumLines);
  for (float y : IdleLimit()) limit.add_vectorpoints()->set_y(y);
}

void RunUpSpectra(std::uint64_t seed, dc::MeasurementValue& value) {
  PlantRandom random(Stream(seed, kRunUpSpectra));
  dc::VectorTrack& track = *value.mutable_vectortrack();
  *track.mutable_xunit() = MakeUnit(en::hertz);
  *track.mutable_yunit() = MakeUnit(en::metre_per_second_squared);
  *track.mutable_zunit() = MakeUnit(en::rpm);
  *track.mutable_xaxisrange() = Axis(0, kRunUpDeltaHz, kRunUpLines);
  for (int row = 0; row < kRows; ++row) {
    const double rpm = kRowsFromRpm + row * kRowsStepRpm;
    const double r = rpm / 4000;
    std::vector<double> y(kRunUpLines);
    for (double& point : y) point = 0.01 * random.Between(0.5, 1.5);
    for (const auto& [order, amplitude] :
         {std::pair{2.0, 0.2 + 0.3 * r}, std::pair{23.0, 0.5 * r * r}}) {
      const int line = static_cast<int>(std::lround(order * rpm / 60 / kRunUpDeltaHz));
      if (line < kRunUpLines) y[line] += amplitude * random.Between(0.9, 1.1);
    }
    auto& element = *track.add_values();
    element.set_z(static_cast<float>(rpm));
    element.mutable_vectorpoints()->Reserve(kRunUpLines);
    for (double point : y) element.add_vectorpoints()->set_y(static_cast<float>(point));
  }
}

void OrderMap(std::uint64_t seed, dc::MeasurementValue& value) {
  PlantRandom random(Stream(seed, kOrderMap));
  dc::Matrix& matrix = *value.mutable_matrix();
  *matrix.mutable_xunit() = MakeUnit(en::order);
  *matrix.mutable_yunit() = MakeUnit(en::pascal, en::Decibel);
  *matrix.mutable_zunit() = MakeUnit(en::rpm);
  *matrix.mutable_xaxisrange() = Axis(kOrderDelta, kOrderDelta, kOrderColumns);
  *matrix.mutable_zaxisrange() = Axis(kRowsFromRpm, kRowsStepRpm, kRows);
  auto& limit = *matrix.add_limits();
  *limit.mutable_limit() = UpperLimit(kOrderMap);
  for (int row = 0; row < kRows; ++row) {
    const double rpm = kRowsFromRpm + row * kRowsStepRpm;
    auto& element = *matrix.add_values();
    auto& bound = *limit.add_matrixelements();
    for (int column = 0; column < kOrderColumns; ++column) {
      const double order = kOrderDelta * (column + 1);
      element.add_vectorpoints()->set_y(
          static_cast<float>(OrderMapNominal(order, rpm) + random.Between(-3, 3)));
      bound.add_vectorpoints()->set_y(static_cast<float>(OrderMapLimit(order, rpm)));
    }
  }
}

/// Raises the point of `value` nearest the exceedance's position to its value.
void Apply(const Exceedance& exceedance, dc::MeasurementValue& value) {
  switch (exceedance.quantityId) {
    case kLevel:
      value.mutable_scalar()->set_value(exceedance.value);
      break;
    case kOrderTrack: {
      const int i = NearestIndex(exceedance.position, kTrackFromRpm, kTrackStepRpm, kTrackPoints);
      value.mutable_scalartrack()->mutable_values(i)->set_y(exceedance.value);
      break;
    }
    case kIdleSpectrum: {
      const int i = NearestIndex(exceedance.position, 0, kSpectrumDeltaHz, kSpectrumLines);
      value.mutable_vector()->mutable_values(i)->set_y(exceedance.value);
      break;
    }
    case kOrderMap: {
      const int row = NearestIndex(exceedance.position, kRowsFromRpm, kRowsStepRpm, kRows);
      const int column = NearestIndex(23, kOrderDelta, kOrderDelta, kOrderColumns);
      value.mutable_matrix()->mutable_values(row)->mutable_vectorpoints(column)->set_y(
          exceedance.value);
      break;
    }
    default:
      break;
  }
}

}  // namespace

const std::vector<QuantityInfo>& PlantQuantities() {
  static const std::vector<QuantityInfo> quantities = {
      {kLevel, "Run-Up", "Level", "Mic-1", "Gearbox", "RMS", "MIC-4189-A", en::Scalar, 1001,
       "Gearbox noise level too high", "Gearbox noise upper limit"},
      {kOrderTrack, "Run-Up", "Tracker", "Acc-1", "Housing", "Order 2 level", "ACC-356A",
       en::ScalarTrack, 1002, "Order 2 vibration too high", "Order 2 upper limit"},
      {kIdleSpectrum, "Idle", "FFT", "Mic-1", "Gearbox", "Spectrum", "MIC-4189-A", en::Vector, 1003,
       "Idle spectrum above limit", "Idle spectrum upper limit"},
      {kRunUpSpectra, "Run-Up", "FFT", "Acc-1", "Housing", "Spectrum over speed", "ACC-356A",
       en::VectorTrack, 1004, "Run-up spectrum above limit", "none"},
      {kOrderMap, "Run-Up", "Campbell", "Mic-1", "Gearbox", "Order map", "MIC-4189-A", en::Matrix,
       1005, "Order map above limit", "Order map upper limit"},
  };
  return quantities;
}

Exceedance ChooseExceedance(std::uint64_t seed, std::uint64_t choice) {
  PlantRandom random(choice);
  Exceedance exceedance;
  const int quantities[] = {kLevel, kOrderTrack, kIdleSpectrum, kIdleSpectrum, kOrderMap};
  exceedance.quantityId = quantities[random.Below(5)];
  const dc::MeasurementValue value = QuantityValue(exceedance.quantityId, seed, {});
  switch (exceedance.quantityId) {
    case kLevel:
      exceedance.position = 1500;
      exceedance.limit = kLevelLimit;
      break;
    case kOrderTrack: {
      const int i = static_cast<int>(random.Below(kTrackPoints));
      exceedance.position = value.scalartrack().values(i).x();
      exceedance.limit = value.scalartrack().limits(0).scalartrackpoints(i).y();
      break;
    }
    case kIdleSpectrum: {
      // The gear mesh or its first harmonic, where a damaged tooth shows.
      const double order = random.Chance(0.5) ? 23 : 46;
      const int i = static_cast<int>(std::lround(order * IdleRpm(seed) / 60 / kSpectrumDeltaHz));
      exceedance.position = static_cast<float>(i * kSpectrumDeltaHz);
      exceedance.limit = value.vector().limits(0).vectorpoints(i).y();
      break;
    }
    default: {
      const int row = static_cast<int>(random.Below(kRows));
      const int column = NearestIndex(23, kOrderDelta, kOrderDelta, kOrderColumns);
      exceedance.position = static_cast<float>(kRowsFromRpm + row * kRowsStepRpm);
      exceedance.limit = value.matrix().limits(0).matrixelements(row).vectorpoints(column).y();
      break;
    }
  }
  const double excess =
      exceedance.quantityId == kOrderTrack ? random.Between(0.1, 0.5) : random.Between(1, 6);
  exceedance.value = static_cast<float>(exceedance.limit + excess);
  return exceedance;
}

void FillQuantityValue(int quantityId, std::uint64_t seed,
                       const std::vector<Exceedance>& exceedances, dc::MeasurementValue& value) {
  switch (quantityId) {
    case kLevel:
      Level(seed, value);
      break;
    case kOrderTrack:
      OrderTrack(seed, value);
      break;
    case kIdleSpectrum:
      IdleSpectrum(seed, value);
      break;
    case kRunUpSpectra:
      RunUpSpectra(seed, value);
      break;
    case kOrderMap:
      OrderMap(seed, value);
      break;
    default:
      value.set_invalid("no such quantity");
      return;
  }
  for (const Exceedance& exceedance : exceedances) {
    if (exceedance.quantityId == quantityId) Apply(exceedance, value);
  }
}

dc::MeasurementValue QuantityValue(int quantityId, std::uint64_t seed,
                                   const std::vector<Exceedance>& exceedances) {
  dc::MeasurementValue value;
  FillQuantityValue(quantityId, seed, exceedances, value);
  return value;
}

namespace {

template <typename Points, typename Bounds>
bool AnyAbove(const Points& points, const Bounds& bounds) {
  for (int i = 0; i < points.size() && i < bounds.size(); ++i) {
    if (points.Get(i).y() > bounds.Get(i).y()) return true;
  }
  return false;
}

}  // namespace

bool ExceedsLimit(const dc::MeasurementValue& value) {
  if (value.has_scalar()) {
    for (const auto& limit : value.scalar().limits()) {
      if (limit.limit().limittype() == en::UpperLimit && value.scalar().value() > limit.scalar())
        return true;
    }
  }
  for (const auto& limit : value.scalartrack().limits()) {
    if (AnyAbove(value.scalartrack().values(), limit.scalartrackpoints())) return true;
  }
  for (const auto& limit : value.vector().limits()) {
    if (AnyAbove(value.vector().values(), limit.vectorpoints())) return true;
  }
  for (const auto& limit : value.matrix().limits()) {
    for (int row = 0; row < value.matrix().values_size() && row < limit.matrixelements_size();
         ++row) {
      if (AnyAbove(value.matrix().values(row).vectorpoints(),
                   limit.matrixelements(row).vectorpoints()))
        return true;
    }
  }
  return false;
}

}  // namespace vrex::stub::plant
