#pragma once
// The commands that change a plant (shifts, error groups, reference units,
// lines, tokens, truncation) and the log they write: each runs in one
// transaction with its log entry, so a command that fails changes nothing.

#include <functional>
#include <map>
#include <string>

#include "plant/PlantQueries.h"
#include "plant/Sqlite.h"

namespace vrex::stub::plant {

/// Writes `text` into the plant's log as an entry of `source` at the present moment.
void WriteLogEntry(SqliteDatabase& db, const std::string& source, const std::string& text);

/// A command handler: runs `change`, which gives the text of its log entry,
/// and writes that entry, both in one transaction or neither.
template <typename Request, typename Function>
PlantHandler Command(Function change) {
  return [change](SqliteDatabase& db, const google::protobuf::Message& message) {
    const auto& request = dynamic_cast<const Request&>(message);
    SqliteTransaction transaction(db);
    WriteLogEntry(db, std::string(Request::descriptor()->name()), change(db, request));
    transaction.Commit();
    return CannedAnswer{};
  };
}

/// Adds the handlers of the commands and of LogEntryQuery to `handlers`.
void AddCommandHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers);

}  // namespace vrex::stub::plant
