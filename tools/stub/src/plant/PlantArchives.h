#pragma once
// The plant's archives: the archive data of tests and averages (the stub's
// own format: each test or average as a MeasurementContainer of it alone,
// one after the other, so that the whole reads back as one container), the
// identifiers of a test's last averages, and measurements read through the
// archive file that holds them.

#include <functional>
#include <map>
#include <string>

#include "plant/PlantQueries.h"

namespace vrex::stub::plant {

/// Adds the handlers of the archive requests to `handlers`.
void AddArchiveHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers);

}  // namespace vrex::stub::plant
