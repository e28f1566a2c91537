#pragma once
// Durations shown to people.

#include <chrono>
#include <string>

#include "vrex/Export.h"

namespace vrex::data {

/// A duration for people, in milliseconds with one decimal: "12.3 ms".
VREX_EXPORT std::string FormatElapsed(std::chrono::microseconds elapsed);

}  // namespace vrex::data
