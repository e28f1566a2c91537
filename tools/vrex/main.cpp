// vrex: the command line of the results server. All logic is in vrex_cli.

#include <sys/prctl.h>

#include <exception>
#include <iostream>

#include "App.h"
#include "PendingFile.h"

int main(int argc, char** argv) {
  // Before any token is read: no core file, no ptrace by other users'
  // processes, so the token cannot leak from this process's memory.
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
  vrex::cli::RemovePendingFilesOnSignals();
  try {
    vrex::cli::Console console = vrex::cli::TerminalConsole();
    return vrex::cli::RunVrex(argc, argv, console);
  } catch (const std::exception& error) {
    std::cerr << "vrex: " << error.what() << '\n';
  } catch (...) {
    std::cerr << "vrex: an unexpected failure ended vrex\n";
  }
  return 1;
}
