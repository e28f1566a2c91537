#pragma once
// `vrex log URL`: the server's log entries of a context.

#include "Command.h"

namespace vrex::cli {

void AddLogCommand(const CommandSetup& setup);

}  // namespace vrex::cli
