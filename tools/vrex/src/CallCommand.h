#pragma once
// `vrex call URL TYPE -d JSON`: any request of the contract, from JSON.

#include "Command.h"

namespace vrex::cli {

void AddCallCommand(const CommandSetup& setup);

}  // namespace vrex::cli
