#pragma once
// The measured values of one test, computed from the test's seed whenever
// they are asked for rather than stored: an end-of-line acoustic and
// vibration test of a gearbox. Five quantities, one of each kind:
//   1 a noise level (scalar, dB) at 1500 rpm;
//   2 the order-2 vibration over a run-up (scalar track over rpm);
//   3 the idle sound spectrum, 3 200 lines to 4 kHz, harmonic orders of the
//     idle speed over a noise floor (vector);
//   4 vibration spectra over speed during the run-up (vector track, Z rpm);
//   5 an order map of the run-up sound (matrix, orders over rpm).
// Each has an upper limit a good test stays under everywhere; a failing
// test's defect names the quantity and position where its value exceeds it.

#include <cstdint>
#include <string>
#include <vector>

#include "DataType.pb.h"
#include "MeasurementValue.pb.h"
#include "MeasurementValueContainer.pb.h"

namespace vrex::stub::plant {

/// The key and error of one measured quantity.
struct QuantityInfo {
  int id;
  std::string mode, instrument, channel, location, parameter, sensor;
  int dataType;  ///< Enumerator::DataType
  int errorCode;
  std::string errorText;
  std::string limitDescription;
};

const std::vector<QuantityInfo>& PlantQuantities();

/// Where a failing test exceeds its limit.
struct Exceedance {
  int quantityId = 0;
  float position = 0;  ///< rpm for 1, 2, 4 and 5; hertz for 3
  float value = 0;
  float limit = 0;
};

/// The place and size of an exceedance for a failing test of `seed`,
/// chosen by `choice`.
Exceedance ChooseExceedance(std::uint64_t seed, std::uint64_t choice);

/// The value of quantity `quantityId` of the test of `seed`, with its
/// exceedances applied.
Korvan::KQ::DataContracts::MeasurementValue QuantityValue(
    int quantityId, std::uint64_t seed, const std::vector<Exceedance>& exceedances);
/// The same into `value`, an empty message (one on an arena, say).
void FillQuantityValue(int quantityId, std::uint64_t seed,
                       const std::vector<Exceedance>& exceedances,
                       Korvan::KQ::DataContracts::MeasurementValue& value);

/// The idle spectrum's frequency resolution and length.
inline constexpr double kSpectrumDeltaHz = 1.25;
inline constexpr int kSpectrumLines = 3200;

/// Whether any point of `value` lies above its upper limit.
bool ExceedsLimit(const Korvan::KQ::DataContracts::MeasurementValue& value);

}  // namespace vrex::stub::plant
