#pragma once
// The bracket structure of a JSON text, read without parsing it: cheap enough
// to run before a parser that a hostile text could make slow or mislead.

#include <string_view>

#include "vrex/Export.h"

namespace vrex::data {

struct JsonShape {
  int depth = 0;            ///< the deepest nesting of arrays and objects
  bool listInList = false;  ///< an array directly inside an array
};

/// Brackets inside strings do not count.
VREX_EXPORT JsonShape ScanJsonShape(std::string_view json);

}  // namespace vrex::data
