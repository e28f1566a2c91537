#pragma once
// `vrex download URL TYPE -d JSON -o FILE`: a file answer (archive, WAV,
// CSV) saved atomically, with a progress bar on a terminal.

#include "Command.h"

namespace vrex::cli {

void AddDownloadCommand(const CommandSetup& setup);

}  // namespace vrex::cli
