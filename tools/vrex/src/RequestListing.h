#pragma once
// The request catalog as people and scripts read it: every request with
// its kind and answer, grouped by area.

#include <string>
#include <string_view>

#include "vrex/Result.h"

namespace vrex::cli {

/// The requests of `area` (all areas when empty; case does not matter) as
/// text grouped under area headings, or as a JSON array of objects with
/// "area", "request", "kind" and "answer". Fails for an area the catalog
/// lacks, naming the areas it has.
Result<std::string> ListRequests(std::string_view area, bool asJson);

}  // namespace vrex::cli
