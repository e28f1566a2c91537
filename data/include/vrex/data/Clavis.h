#pragma once
// Equality and hashing of the quantity key Clavis, so that it can key an
// unordered map. Two keys are equal when all six parts (Mode, Instrument,
// Channel, Location, InstrumentParameter, Sensor) are equal byte for byte;
// an empty part is a part like any other.
//
//   vrex::data::ClavisMap<float> limits;
//   limits[clavis] = 3.5F;
//   bool same = vrex::data::ClavisEqual{}(a, b);

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Clavis.pb.h"
#include "vrex/Export.h"
#include "vrex/Result.h"

namespace vrex::data {

struct VREX_EXPORT ClavisEqual {
  bool operator()(const Korvan::KQ::DataContracts::Clavis& a,
                  const Korvan::KQ::DataContracts::Clavis& b) const noexcept;
};

/// Hashes each part on its own and mixes them in order, so that keys that
/// differ only in where one part ends ("ab" + "" against "a" + "b") do not
/// collide as they would with a hash of the joined text.
struct VREX_EXPORT ClavisHash {
  std::size_t operator()(const Korvan::KQ::DataContracts::Clavis& clavis) const noexcept;
};

/// The six parts joined by "/" in the order Mode/Instrument/Channel/
/// Location/InstrumentParameter/Sensor, e.g. "Run/Mic1/2/Front/Level/S7".
VREX_EXPORT std::string DescribeClavis(const Korvan::KQ::DataContracts::Clavis& clavis);

/// The key DescribeClavis wrote: exactly six parts joined by "/", any of
/// them empty ("Run-Up/Level/Mic-1/Gearbox/RMS/"). A part that itself holds
/// a "/" cannot be written this way.
VREX_EXPORT Result<Korvan::KQ::DataContracts::Clavis> ParseClavis(std::string_view text);

template <typename T>
using ClavisMap = std::unordered_map<Korvan::KQ::DataContracts::Clavis, T, ClavisHash, ClavisEqual>;

}  // namespace vrex::data
