#pragma once
// The offline commands: list, describe and template.

#include "Command.h"

namespace vrex::cli {

void AddSchemaCommands(const CommandSetup& setup);

}  // namespace vrex::cli
