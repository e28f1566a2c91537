#pragma once
// The commands that change a plant (shifts, error groups, reference units,
// lines, tokens, truncation) and the log they write: each runs in one
// transaction with its log entry, so a command that fails changes nothing.

#include <functional>
#include <map>
#include <string>

#include "plant/PlantQueries.h"

namespace vrex::stub::plant {

/// Adds the handlers of the commands and of LogEntryQuery to `handlers`.
void AddCommandHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers);

}  // namespace vrex::stub::plant
