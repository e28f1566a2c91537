#include "Command.h"

namespace vrex::cli {

CLI::App& AddCommand(CLI::App& app, const std::string& name, const std::string& description,
                     const std::string& examples) {
  CLI::App& command = *app.add_subcommand(name, description);
  command.footer("\nEXAMPLES\n" + examples);
  return command;
}

}  // namespace vrex::cli
