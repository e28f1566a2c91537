#pragma once
// The vrex command line: all subcommands on one CLI11 application.

#include "Console.h"

namespace vrex::cli {

/// Parses `argv`, runs the chosen command and returns the exit status.
int RunVrex(int argc, const char* const* argv, Console& console);

}  // namespace vrex::cli
