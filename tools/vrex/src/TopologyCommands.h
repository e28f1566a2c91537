#pragma once
// `vrex version URL` and `vrex topology URL`.

#include "Command.h"

namespace vrex::cli {

void AddTopologyCommands(const CommandSetup& setup);

}  // namespace vrex::cli
