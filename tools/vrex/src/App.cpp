#include "App.h"

#include <algorithm>

#include "ClosestWords.h"
#include "Commands.h"
#include "HelpFormatter.h"
#include "vrex/data/SecretMask.h"

namespace vrex::cli {

namespace {

std::string ExitCodeHelp() {
  std::string text = "EXIT STATUS\n";
  for (const ExitCodeMeaning& entry : ExitCodeTable()) {
    text += "  " + std::to_string(ToInt(entry.code)) + "  " + std::string(entry.meaning) + "\n";
  }
  return text;
}

std::string MainFooter() {
  return "\nEXAMPLES\n"
         "  vrex topology http://results:8080\n"
         "  vrex tests http://results:8080 --factory Plant-North --line Line-A --since 1h\n"
         "  vrex plot http://results:8080 --factory Plant-North --line Line-A --id 1001 --id 1002 "
         "--clavis 'Idle/FFT/Mic-1/Gearbox/Spectrum/MIC-4189-A' -o spectrum.png\n"
         "  vrex call http://results:8080 MeasurementQuery -d @query.json\n"
         "\nThe token is taken from --token, --token-file or $VREX_TOKEN. Run `vrex COMMAND --help` for the "
         "options and examples of a command.\n\n" +
         ExitCodeHelp();
}

// A first word that is no command is most likely a typo of one: name it.
bool IsUnknownCommand(const CLI::App& app, const std::string& word, Console& console) {
  std::vector<std::string> commands;
  for (const CLI::App* command : app.get_subcommands({})) commands.push_back(command->get_name());
  if (word.empty() || word[0] == '-' ||
      std::find(commands.begin(), commands.end(), word) != commands.end()) {
    return false;
  }
  std::string guesses;
  for (const std::string& guess : ClosestWords(word, commands)) {
    guesses += (guesses.empty() ? "; did you mean " : " or ") + guess;
  }
  console.err << "vrex: no command \"" << word << "\"" << (guesses.empty() ? "" : guesses + "?")
              << " (`vrex --help` lists the commands)\n";
  return true;
}

}  // namespace

int RunVrex(int argc, const char* const* argv, Console& console) {
  CLI::App app{
      "vrex: the results server from the command line. Every request of the contract is one "
      "command away; list, describe and template work offline.",
      "vrex"};
  // Set before the commands are added: they take the formatter over.
  app.formatter(std::make_shared<HelpFormatter>(console.columns));
  app.require_subcommand(1);
  app.set_version_flag("--version", "vrex " VREX_CLI_VERSION);
  app.footer(MainFooter());
  CommandAction action;
  CommandSetup setup{app, console, action};
  AddSchemaCommands(setup);
  AddRequestCommands(setup);
  AddTopologyCommands(setup);
  AddTestCommands(setup);
  AddLogCommand(setup);
  AddPlotCommand(setup);
  AddCompletionCommand(setup);
  if (argc > 1 && IsUnknownCommand(app, argv[1], console)) {
    return ToInt(ExitCode::Usage);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error, console.out, console.err);
    return status == 0 ? 0 : ToInt(ExitCode::Usage);
  }
  if (!action) return ToInt(ExitCode::Usage);
  // Whatever escapes a command ends the run with a message, never with abort().
  try {
    return ToInt(action());
  } catch (const std::exception& error) {
    console.err << "vrex: " << data::MaskSecrets(error.what()) << '\n';
  } catch (...) {
    console.err << "vrex: an unexpected failure ended the command\n";
  }
  return ToInt(ExitCode::Failure);
}

}  // namespace vrex::cli
