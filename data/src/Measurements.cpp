#include "vrex/data/Measurements.h"

#include <map>

namespace vrex::data {
namespace {

namespace contracts = Korvan::KQ::DataContracts;
using contracts::Enumerator::DataType;

}  // namespace

std::vector<MeasurementEntry> PairByHandle(const contracts::MeasurementValueContainer& container) {
  // Ordered by handle so that callers see the same order on every run; the
  // maps themselves have none.
  std::map<std::int32_t, MeasurementEntry> byHandle;
  for (const auto& [handle, key] : container.keys()) {
    MeasurementEntry& entry = byHandle[handle];
    entry.handle = handle;
    entry.key = &key;
  }
  for (const auto& [handle, value] : container.values()) {
    MeasurementEntry& entry = byHandle[handle];
    entry.handle = handle;
    entry.value = &value;
  }
  std::vector<MeasurementEntry> entries;
  entries.reserve(byHandle.size());
  for (const auto& handleAndEntry : byHandle) entries.push_back(handleAndEntry.second);
  return entries;
}

Result<const contracts::MeasurementValue*> FindValue(
    const contracts::MeasurementValueContainer& container, const contracts::Clavis& clavis) {
  using Found = Result<const contracts::MeasurementValue*>;
  bool named = false;
  for (const MeasurementEntry& entry : PairByHandle(container)) {
    if (entry.key == nullptr || !ClavisEqual{}(*entry.key, clavis)) continue;
    if (entry.value != nullptr) return Found::Success(entry.value);
    named = true;
  }
  const std::string quantity = "quantity " + DescribeClavis(clavis);
  return Found::Failure(named ? quantity + " has no value in the container"
                              : quantity + " is not in the container");
}

std::vector<DataType> KindsOf(const contracts::MeasurementValue& value) {
  std::vector<DataType> kinds;
  if (value.has_scalar()) kinds.push_back(contracts::Enumerator::Scalar);
  if (value.has_scalartrack()) kinds.push_back(contracts::Enumerator::ScalarTrack);
  if (value.has_vector()) kinds.push_back(contracts::Enumerator::Vector);
  if (value.has_vectortrack()) kinds.push_back(contracts::Enumerator::VectorTrack);
  if (value.has_matrix()) kinds.push_back(contracts::Enumerator::Matrix);
  return kinds;
}

DataType KindOf(const contracts::MeasurementValue& value) {
  const std::vector<DataType> kinds = KindsOf(value);
  if (kinds.empty()) return contracts::Enumerator::Invalid;
  return kinds.size() == 1 ? kinds.front() : contracts::Enumerator::Unknown;
}

}  // namespace vrex::data
