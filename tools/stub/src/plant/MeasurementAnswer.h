#pragma once
// The answer of a measurement query: the tests' values computed and encoded
// test by test, on several threads, each test's messages on an arena of its
// worker, then joined in the order of the answer's map. A test's values take
// some 20 000 small messages; built all at once as one container they cost
// more in allocation than in computing, and memory in proportion to the
// answer many times over.

#include <string>
#include <vector>

#include "ClavisFilter.pb.h"
#include "plant/Sqlite.h"
#include "plant/TestSelection.h"

namespace vrex::stub::plant {

/// The binary encoding of a MeasurementContainer of `tests`, each with its
/// header, defects and the values of the quantities `filter` selects (all
/// without one): the bytes SerializeDeterministically gives of the
/// container built whole.
std::string SerializedMeasurements(SqliteDatabase& db, const std::vector<TestRow>& tests,
                                   const dc::ClavisFilter* filter);

/// Whether `filter` selects the quantity of key `key`: an item names a key
/// when each of its non-empty parts equals the key's; `Exclude` inverts.
bool Wanted(const dc::Clavis& key, const dc::ClavisFilter* filter);

/// The key of a plant quantity.
dc::Clavis ClavisOf(const QuantityInfo& quantity);

/// Whether `key` is named by `wanted`, whose empty parts match any part.
bool Names(const dc::Clavis& wanted, const dc::Clavis& key);

}  // namespace vrex::stub::plant
