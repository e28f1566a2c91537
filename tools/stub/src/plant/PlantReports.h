#pragma once
// The plant's files (a test's sound as a WAV file, where its archive data
// lies; the archive data itself: PlantArchives.h) and statistics (rejects by
// shift, top-N rejects, test history), all computed from the same tests as
// the test queries.

#include <functional>
#include <map>
#include <string>

#include "plant/PlantQueries.h"

namespace vrex::stub::plant {

/// Adds the handlers of the file and statistics requests to `handlers`.
void AddReportHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers);

}  // namespace vrex::stub::plant
