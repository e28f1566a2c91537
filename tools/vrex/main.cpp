// vrex: the command line of the results server. All logic is in vrex_cli.

#include "App.h"

int main(int argc, char** argv) {
  vrex::cli::Console console = vrex::cli::TerminalConsole();
  return vrex::cli::RunVrex(argc, argv, console);
}
