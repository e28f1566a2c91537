#pragma once
// Runs the vrex program as a user would, with its standard input, output and
// error kept apart, and a bound on how long it may take.

#include <map>
#include <string>
#include <vector>

namespace vrex::testing {

struct ProcessResult {
  int exitCode = -1;  ///< -1 when the program did not exit normally
  std::string out;
  std::string err;
};

struct ProcessInput {
  std::string standardInput;
  /// Set in the program's environment, on top of the test's own; VREX_TOKEN
  /// is always removed first so that the caller's shell cannot leak in.
  std::map<std::string, std::string> environment;
};

/// Runs vrex with `arguments`; a program still running after 60 s is killed
/// and fails the run with exit code -1.
ProcessResult RunVrexProcess(const std::vector<std::string>& arguments,
                             const ProcessInput& input = {});

}  // namespace vrex::testing
