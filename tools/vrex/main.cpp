// vrex: the command line of the results server. All logic is in vrex_cli.

#include <unistd.h>

#include <iostream>

#include "App.h"
#include "HelpFormatter.h"

int main(int argc, char** argv) {
  vrex::cli::Console console{std::cin,
                             std::cout,
                             std::cerr,
                             isatty(STDOUT_FILENO) == 1,
                             isatty(STDERR_FILENO) == 1,
                             vrex::cli::TerminalColumns(STDOUT_FILENO)};
  return vrex::cli::RunVrex(argc, argv, console);
}
