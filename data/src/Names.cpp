#include "vrex/data/Names.h"

namespace vrex::data {

namespace contracts = Korvan::KQ::DataContracts;

NameIndex::NameIndex(const contracts::IdNameTableStore& store) {
  for (const contracts::IdNameTable& table : store.tables()) {
    // try_emplace keeps the first table and the first row of each key.
    const auto [rows, isNew] = tables_.try_emplace(table.name());
    if (!isNew) continue;
    for (const contracts::IdNameTableItem& item : table.items()) {
      rows->second.try_emplace(item.id(), item.name());
    }
  }
}

bool NameIndex::HasTable(std::string_view table) const {
  return tables_.find(table) != tables_.end();
}

const std::string* NameIndex::Find(std::string_view table, std::int32_t id) const {
  const auto rows = tables_.find(table);
  if (rows == tables_.end()) return nullptr;
  const auto row = rows->second.find(id);
  return row == rows->second.end() ? nullptr : &row->second;
}

Result<std::string> NameIndex::Resolve(std::string_view table, std::int32_t id) const {
  const std::string quotedTable = "name table \"" + std::string(table) + "\"";
  if (!HasTable(table)) return Result<std::string>::Failure("no " + quotedTable);
  const std::string* name = Find(table, id);
  if (name == nullptr) {
    return Result<std::string>::Failure(quotedTable + " has no Id " + std::to_string(id));
  }
  return Result<std::string>::Success(*name);
}

Result<contracts::Clavis> ResolveCrossReference(const contracts::ProtocolCrossReferenceData& row,
                                                const NameIndex& names,
                                                const CrossReferenceTables& tables) {
  struct ForeignKey {
    const char* field;
    const std::string& table;
    std::int32_t id;
    std::string* (contracts::Clavis::*part)();
  };
  const ForeignKey keys[] = {
      {"FkMode", tables.mode, row.fkmode(), &contracts::Clavis::mutable_mode},
      {"FkInstrument", tables.instrument, row.fkinstrument(),
       &contracts::Clavis::mutable_instrument},
      {"FkLocation", tables.location, row.fklocation(), &contracts::Clavis::mutable_location},
      {"FkParameter", tables.parameter, row.fkparameter(),
       &contracts::Clavis::mutable_instrumentparameter},
  };
  contracts::Clavis clavis;
  for (const ForeignKey& key : keys) {
    Result<std::string> name = names.Resolve(key.table, key.id);
    if (!name.Ok()) {
      return Result<contracts::Clavis>::Failure("cross reference " + std::to_string(row.pkident()) +
                                                ", " + key.field + ": " +
                                                name.GetStatus().Message());
    }
    *(clavis.*key.part)() = std::move(name).Value();
  }
  return Result<contracts::Clavis>::Success(std::move(clavis));
}

}  // namespace vrex::data
