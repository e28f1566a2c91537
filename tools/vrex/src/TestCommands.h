#pragma once
// `vrex tests` and `vrex measurements`: the tests of a line and their values.

#include "Command.h"

namespace vrex::cli {

void AddTestCommands(const CommandSetup& setup);

}  // namespace vrex::cli
