#pragma once
// Reading the values of one test from a MeasurementValueContainer.
//
// The container holds two maps over one set of local handles: `Keys` (handle
// to Clavis) and `Values` (handle to MeasurementValue). Either map may hold a
// handle the other lacks; these helpers keep such unpaired entries visible
// instead of dropping them, and rely on no numbering of the handles.
//
//   for (const vrex::data::MeasurementEntry& entry : vrex::data::PairByHandle(values)) {
//     if (entry.key == nullptr) continue;    // a value nobody named
//     if (entry.value == nullptr) continue;  // a quantity whose value was not sent
//     std::cout << vrex::data::DescribeClavis(*entry.key) << '\n';
//   }
//   auto level = vrex::data::FindValue(values, clavis);
//   if (level && vrex::data::KindOf(*level.Value()) == Enumerator::Scalar)
//     std::cout << level.Value()->scalar().value();

#include <cstdint>
#include <vector>

#include "Clavis.pb.h"
#include "DataType.pb.h"
#include "MeasurementValue.pb.h"
#include "MeasurementValueContainer.pb.h"
#include "vrex/Export.h"
#include "vrex/Result.h"
#include "vrex/data/Clavis.h"

namespace vrex::data {

/// One handle of a value container. The pointers point into the container
/// and stay valid while it is neither changed nor destroyed.
struct MeasurementEntry {
  std::int32_t handle = 0;
  const Korvan::KQ::DataContracts::Clavis* key = nullptr;  ///< nullptr: no key for the value
  const Korvan::KQ::DataContracts::MeasurementValue* value =
      nullptr;  ///< nullptr: the value was not sent
};

/// Every handle that occurs in `Keys` or `Values`, once, in ascending order.
VREX_EXPORT std::vector<MeasurementEntry> PairByHandle(
    const Korvan::KQ::DataContracts::MeasurementValueContainer& container);

/// The value of the quantity `clavis`. Should several handles carry the
/// same key, the lowest handle that has a value wins. Fails when no handle
/// carries the key, or when those that do have no value.
VREX_EXPORT Result<const Korvan::KQ::DataContracts::MeasurementValue*> FindValue(
    const Korvan::KQ::DataContracts::MeasurementValueContainer& container,
    const Korvan::KQ::DataContracts::Clavis& clavis);

/// Every kind present in a value, in field order (Scalar ... Matrix). The
/// contract lets a value carry several kinds, or none.
VREX_EXPORT std::vector<Korvan::KQ::DataContracts::Enumerator::DataType> KindsOf(
    const Korvan::KQ::DataContracts::MeasurementValue& value);

/// The kind of a value: the one present kind; `Invalid` when none is
/// present; `Unknown` when several are (see KindsOf). A non-empty `Invalid`
/// text does not change the kind: check `value.invalid()` for it.
VREX_EXPORT Korvan::KQ::DataContracts::Enumerator::DataType KindOf(
    const Korvan::KQ::DataContracts::MeasurementValue& value);

}  // namespace vrex::data
