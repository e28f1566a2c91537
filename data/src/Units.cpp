#include "vrex/data/Units.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace vrex::data {
namespace {

namespace dc = ::Korvan::KQ::DataContracts;
namespace en = ::Korvan::KQ::DataContracts::Enumerator;

struct UnitNames {
  en::UnitId id;
  std::string_view symbol;
  std::string_view quantity;
};

// Units missing here are written by their contract name and name no quantity.
constexpr std::array<UnitNames, 24> kUnits = {{
    {en::count, "", ""},
    {en::percent, "%", ""},
    {en::second, "s", "Time"},
    {en::DtTm, "DtTm", "Time"},
    {en::hertz, "Hz", "Frequency"},
    {en::rpm, "rpm", "Speed"},
    {en::revolution, "revolution", "Revolutions"},
    {en::order, "order", "Order"},
    {en::volt, "V", "Voltage"},
    {en::pascal, "Pa", "Sound pressure"},
    {en::newton_metre, "N m", "Torque"},
    {en::couloomb, "couloomb", "Charge"},
    {en::metre_per_second_squared, "m/s^2", "Acceleration"},
    {en::gravity, "g", "Acceleration"},
    {en::metre, "m", "Displacement"},
    {en::degree, "deg", "Angle"},
    {en::radian, "rad", "Angle"},
    {en::kilo_metre_per_hour, "km/h", "Velocity"},
    {en::miles_per_hour, "mph", "Velocity"},
    {en::metres_per_second, "m/s", "Velocity"},
    {en::radians_per_second, "radians_per_second", "Angular velocity"},
    {en::radians_per_second_squared, "radians_per_second_squared", "Angular acceleration"},
    {en::sqare_metre, "sqare_metre", "Area"},
    {en::bar, "bar", "Pressure"},
}};

const UnitNames* Find(en::UnitId id) {
  for (const UnitNames& unit : kUnits) {
    if (unit.id == id) return &unit;
  }
  return nullptr;
}

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

// "20 µPa" for 2e-05 Pa: the prefix whose number lies in [1, 1000).
std::string PrefixedAmount(double value, const std::string& symbol) {
  // Rounded to the digits shown first, so that 9.9999997e-06 counts as 1e-05.
  const double shown = std::strtod(Number(value).c_str(), nullptr);
  if (shown == 0.0 || !std::isfinite(shown)) return Number(value) + " " + symbol;
  const int exponent = static_cast<int>(std::floor(std::log10(std::fabs(shown)) / 3.0)) * 3;
  if (exponent < -12 || exponent > 12) return Number(value) + " " + symbol;
  return Number(shown / std::pow(10.0, exponent)) + " " + UnitPrefix(exponent) + symbol;
}

std::string DecibelText(const dc::Unit& unit, const std::string& prefixedUnit,
                        DecibelReference style) {
  if (unit.logref() == 0.0F) return prefixedUnit.empty() ? "dB" : "dB " + prefixedUnit;
  const bool plainUnit = unit.id() != en::invalid && (unit.power() == 0 || unit.power() == 1);
  if (style == DecibelReference::AsSent || !plainUnit) {
    const std::string reference = "dB re " + Number(unit.logref());
    return prefixedUnit.empty() ? reference : reference + " " + prefixedUnit;
  }
  const double reference = unit.logref() * std::pow(10.0, unit.exponent());
  return "dB re " + PrefixedAmount(reference, UnitSymbol(unit.id()));
}

}  // namespace

std::string UnitSymbol(en::UnitId id) {
  const UnitNames* names = Find(id);
  if (names != nullptr) return std::string(names->symbol);
  return id == en::invalid ? "" : en::UnitId_Name(id);
}

std::string UnitPrefix(int exponent) {
  static constexpr std::array<std::string_view, 9> kPrefixes = {"p", "n", "\u00b5", "m", "",
                                                                "k", "M", "G",      "T"};
  if (exponent % 3 == 0 && exponent >= -12 && exponent <= 12) {
    return std::string(kPrefixes[static_cast<std::size_t>(exponent / 3 + 4)]);
  }
  return "10^" + std::to_string(exponent) + " ";
}

std::string QuantityName(en::UnitId id) {
  const UnitNames* names = Find(id);
  return names != nullptr ? std::string(names->quantity) : "";
}

std::string UnitText(const dc::Unit& unit, DecibelReference reference) {
  if (unit.id() == en::invalid && unit.scale() == en::Linear) return "";
  std::string text =
      unit.id() == en::invalid ? "" : UnitPrefix(unit.exponent()) + UnitSymbol(unit.id());
  if (unit.power() != 0 && unit.power() != 1) text += "^" + std::to_string(unit.power());
  switch (unit.scale()) {
    case en::Decibel:
      return DecibelText(unit, text, reference);
    case en::Logarithm:
      return "log " + text;
    default:
      return text;
  }
}

std::string AxisLabel(const dc::Unit& unit, DecibelReference reference) {
  std::string name = QuantityName(unit.id());
  if (!name.empty() && unit.scale() == en::Decibel) name += " level";
  const std::string symbol = UnitText(unit, reference);
  // "Order [order]" would say it twice.
  if (name.empty() || symbol.empty() || symbol == "order") return name.empty() ? symbol : name;
  return name + " [" + symbol + "]";
}

std::string FormatWithUnit(double value, const dc::Unit& unit, DecibelReference reference) {
  const std::string text = UnitText(unit, reference);
  return text.empty() ? Number(value) : Number(value) + " " + text;
}

}  // namespace vrex::data
