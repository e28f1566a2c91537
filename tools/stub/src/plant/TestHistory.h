#pragma once
// The test histories of a line, day by day: results, the most frequent
// error codes and the rejects by error group, computed from the same tests
// as the test queries.

#include <functional>
#include <map>
#include <string>

#include "plant/PlantQueries.h"

namespace vrex::stub::plant {

/// Adds the handlers of the three test-history requests to `handlers`.
void AddHistoryHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers);

}  // namespace vrex::stub::plant
