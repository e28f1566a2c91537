#pragma once
// A JSON skeleton of a request for people to edit: every field present,
// lists with one element, maps with one entry, numbers 0, texts empty.

#include <string>
#include <string_view>

#include "vrex/Result.h"

namespace vrex::cli {

/// The skeleton of the contract message `typeName` as proto3 JSON; parsing
/// it back gives a message of that type. Times are written with scale
/// SECONDS and kind UTC so that only their value needs editing. Types that
/// contain themselves are cut off after the first repetition.
Result<std::string> BuildJsonTemplate(std::string_view typeName);

}  // namespace vrex::cli
