#pragma once
// Resolving the numeric identifiers of a line's result database to names.
//
// The server sends its id-name tables as lists (IdNameTableStore); NameIndex
// turns them into a lookup by table name and identifier. Which table each
// foreign key of a protocol cross-reference points to is the database's
// choice, so the caller names those tables in CrossReferenceTables.
//
//   vrex::data::NameIndex names(store);  // from ResultDbIdNameTablesQuery
//   auto mode = names.Resolve("Mode", 3);
//   const vrex::data::CrossReferenceTables tables{"Instrument", "Parameter", "Mode", "Location"};
//   auto clavis = vrex::data::ResolveCrossReference(row, names, tables);
//   if (clavis) filter.add_items()->CopyFrom(clavis.Value());

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Clavis.pb.h"
#include "IdNameTableStore.pb.h"
#include "ProtocolCrossReferenceData.pb.h"
#include "vrex/Export.h"
#include "vrex/Result.h"

namespace vrex::data {

/// Table name and identifier to name, copied out of a store. Names of tables
/// match exactly (case counts). Where a store repeats a table name or an
/// identifier within a table, the first one in the server's order wins.
class VREX_EXPORT NameIndex {
 public:
  NameIndex() = default;
  explicit NameIndex(const Korvan::KQ::DataContracts::IdNameTableStore& store);

  bool HasTable(std::string_view table) const;

  /// The name, or nullptr when the table or the identifier is unknown.
  const std::string* Find(std::string_view table, std::int32_t id) const;

  /// The name, or an error saying whether the table or the identifier is
  /// missing.
  Result<std::string> Resolve(std::string_view table, std::int32_t id) const;

 private:
  std::map<std::string, std::unordered_map<std::int32_t, std::string>, std::less<>> tables_;
};

/// The name tables that the foreign keys of a cross-reference row refer to.
struct CrossReferenceTables {
  std::string instrument;  ///< for FkInstrument
  std::string parameter;   ///< for FkParameter
  std::string mode;        ///< for FkMode
  std::string location;    ///< for FkLocation
};

/// The Clavis parts that a cross-reference row names: Mode, Instrument,
/// Location and InstrumentParameter. Channel and Sensor are no part of the
/// row and stay empty; FkInstance is not used. Fails naming the first
/// foreign key that does not resolve.
VREX_EXPORT Result<Korvan::KQ::DataContracts::Clavis> ResolveCrossReference(
    const Korvan::KQ::DataContracts::ProtocolCrossReferenceData& row, const NameIndex& names,
    const CrossReferenceTables& tables);

}  // namespace vrex::data
