#pragma once
// The plant's administration: the result database of each line (created,
// brought to a version) and the topology model (the default one drawn from
// the plant, configured, updated and propagated to the lines' services by
// commands). Each command runs in one transaction with its log entry.

#include <functional>
#include <map>
#include <string>

#include "plant/PlantQueries.h"

namespace vrex::stub::plant {

/// Adds the handlers of the result-database and topology-model requests to `handlers`.
void AddAdministrationHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers);

}  // namespace vrex::stub::plant
