#pragma once
// How a subcommand hands its work to App: parsing fills the arguments and
// sets the action; App runs it once parsing succeeded.

#include <CLI/CLI.hpp>

#include <functional>

#include "Console.h"
#include "ExitCodes.h"

namespace vrex::cli {

using CommandAction = std::function<ExitCode()>;

/// What every Add...Command function receives.
struct CommandSetup {
  CLI::App& app;
  Console& console;
  CommandAction& action;
};

/// Adds a subcommand with a man-style help: `description` on top and an
/// EXAMPLES section below the options.
CLI::App& AddCommand(CLI::App& app, const std::string& name, const std::string& description,
                     const std::string& examples);

}  // namespace vrex::cli
