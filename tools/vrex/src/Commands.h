#pragma once
// The subcommands of vrex and how each one is registered: parsing fills a
// command's arguments and sets the action, which App runs once parsing
// succeeded.

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

#include "ConnectionOptions.h"
#include "Console.h"
#include "FailureReport.h"
#include "JsonTimes.h"
#include "vrex/Client.h"
#include "vrex/MessageJson.h"

namespace vrex::cli {

using CommandAction = std::function<ExitCode()>;

/// What every Add...Commands function receives.
struct CommandSetup {
  CLI::App& app;
  Console& console;
  CommandAction& action;
};

/// The help of a command: the summary is its line in `vrex --help`; its own
/// help shows the description on top and an EXAMPLES section below the
/// options.
struct CommandText {
  std::string name;
  std::string summary;
  std::string description;
  std::string examples;
};

/// Adds a subcommand without an action (for commands that set their own).
CLI::App& AddSubcommand(CLI::App& app, const CommandText& text);

/// Adds a subcommand that, when the command line chooses it, runs
/// `run(*arguments, console)`. The caller adds the options that fill
/// `arguments`.
template <class Arguments>
CLI::App& AddCommand(const CommandSetup& setup, const CommandText& text,
                     std::shared_ptr<Arguments> arguments,
                     ExitCode (*run)(const Arguments&, Console&)) {
  CLI::App& command = AddSubcommand(setup.app, text);
  command.callback([arguments, run, &console = setup.console, &action = setup.action] {
    action = [arguments, run, &console] { return run(*arguments, console); };
  });
  return command;
}

/// Prints "vrex: <text>" on stderr and returns ExitCode::Usage.
ExitCode UsageError(const std::string& text, Console& console);

/// The common shape of a friendly read: sends `query`, reports a failed
/// outcome, lets `inspect` look at the answer, prints it with `render` (or
/// as JSON with ISO 8601 times beside the contract's when `json`).
template <class Query, class Render>
ExitCode SendAndPrint(const Client& client, const Query& query, const ServerArguments& server,
                      bool json, Console& console, Render render,
                      const std::function<void(const AnswerOf<Query>&)>& inspect = {}) {
  const auto answer = client.Send(query);
  const ExitCode code = ReportOutcome(answer.GetStatus(), server, console);
  if (code != ExitCode::Ok) {
    return code;
  }
  if (inspect) inspect(answer.Value());
  if (json) {
    const auto text = MessageToJson(answer.Value());
    console.out << (text.Ok() ? WithIsoTimes(text.Value()) : "{}\n");
  } else {
    console.out << render(answer.Value());
  }
  return ExitCode::Ok;
}

// The commands, each file registering its own.
void AddSchemaCommands(const CommandSetup& setup);     ///< list, describe, template (offline)
void AddRequestCommands(const CommandSetup& setup);    ///< call, download: any request from JSON
void AddTopologyCommands(const CommandSetup& setup);   ///< version, topology
void AddTestCommands(const CommandSetup& setup);       ///< tests, measurements
void AddLogCommand(const CommandSetup& setup);         ///< log
void AddPlotCommand(const CommandSetup& setup);        ///< plot
void AddCompletionCommand(const CommandSetup& setup);  ///< completion

}  // namespace vrex::cli
