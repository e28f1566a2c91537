#include "Commands.h"

#include "HelpFormatter.h"

namespace vrex::cli {

CLI::App& AddSubcommand(CLI::App& app, const CommandText& text) {
  CLI::App& command = *app.add_subcommand(text.name, text.description);
  command.footer("\nEXAMPLES\n" + text.examples);
  if (auto formatter = std::dynamic_pointer_cast<HelpFormatter>(app.get_formatter())) {
    formatter->SetSummary(text.name, text.summary);
  }
  return command;
}

ExitCode UsageError(const std::string& text, Console& console) {
  console.err << "vrex: " << text << '\n';
  return ExitCode::Usage;
}

}  // namespace vrex::cli
