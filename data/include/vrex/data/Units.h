#pragma once
// Units of measure as people read them: symbols with their decimal prefix,
// decibel and logarithmic scales with their reference, and the physical
// quantity a unit measures. The command line's tables, CSV and plots write
// units with these functions (a decibel reference as sent), so an
// application that does the same shows the same text.
//
//   const Korvan::KQ::DataContracts::Scalar& level = value.scalar();
//   std::cout << vrex::data::FormatWithUnit(level.value(), level.unit());
//   // 72.4 dB re 20 µPa
//   std::cout << vrex::data::FormatWithUnit(level.value(), level.unit(),
//                                           vrex::data::DecibelReference::AsSent);
//   // 72.4 dB re 2e-05 Pa, as vrex writes it
//
// A unit's `Exponent` is read as the power of ten of a decimal prefix
// (-3: "m", 3: "k") and its `Power` as the power of the unit ("Pa^2"); the
// contract leaves the two integers to its producers, and these are the
// readings the plant's servers use.

#include <string>

#include "Unit.pb.h"
#include "UnitId.pb.h"
#include "vrex/Export.h"

namespace vrex::data {

/// How the reference of a decibel scale is written.
enum class DecibelReference {
  /// In the base unit with the prefix that suits it: "dB re 20 µPa" for
  /// `LogRef` 2e-05 of pascal.
  Prefixed,
  /// The `LogRef` number as sent, then the unit: "dB re 2e-05 Pa". The
  /// command line writes this form, as it always has.
  AsSent,
};

/// "Pa", "Hz", "m/s^2", "rpm"; empty for `count` and `invalid`; the
/// contract's name ("pu", "x") for units without a symbol of their own.
VREX_EXPORT std::string UnitSymbol(Korvan::KQ::DataContracts::Enumerator::UnitId id);

/// The SI prefix of a power of ten that is a multiple of three from -12 to
/// 12 ("µ" for -6, "k" for 3, "" for 0); "10^e " for any other.
VREX_EXPORT std::string UnitPrefix(int exponent);

/// The quantity a unit measures, to name an axis by: "Frequency", "Sound
/// pressure", "Speed"; empty when the unit names none (`count`, `x`, ...).
VREX_EXPORT std::string QuantityName(Korvan::KQ::DataContracts::Enumerator::UnitId id);

/// A whole unit: "Pa", "mV", "Pa^2", "dB re 20 µPa", "dB", "log Hz"; empty
/// for no unit. A decibel scale's reference is written as `reference` says.
VREX_EXPORT std::string UnitText(const Korvan::KQ::DataContracts::Unit& unit,
                                 DecibelReference reference = DecibelReference::Prefixed);

/// An axis named by what the unit measures and the unit: "Sound pressure
/// level [dB re 20 µPa]", "Frequency [Hz]"; only the one that is known
/// ("Order", "count"); empty when the unit says nothing.
VREX_EXPORT std::string AxisLabel(const Korvan::KQ::DataContracts::Unit& unit,
                                  DecibelReference reference = DecibelReference::Prefixed);

/// A number with six significant digits and its unit: "72.4 dB re 20 µPa",
/// "1500 rpm", "3" when there is no unit.
VREX_EXPORT std::string FormatWithUnit(double value, const Korvan::KQ::DataContracts::Unit& unit,
                                       DecibelReference reference = DecibelReference::Prefixed);

}  // namespace vrex::data
