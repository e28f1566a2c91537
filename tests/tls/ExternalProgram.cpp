#include "ExternalProgram.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "ChildProcess.h"

namespace vrex::tls {

std::optional<std::string> FindProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream entries(path != nullptr ? path : "");
  for (std::string directory; std::getline(entries, directory, ':');) {
    const std::string candidate = directory + "/" + name;
    if (!directory.empty() && ::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return std::nullopt;
}

void RunProgram(const std::string& program, const std::vector<std::string>& arguments) {
  std::string command = program;
  for (const auto& argument : arguments) command += " " + argument;
  testing::ChildProcess child(program, arguments);
  const std::string output = child.ReadRest(std::chrono::seconds(30));
  const std::optional<int> status = child.Wait(std::chrono::seconds(5));
  if (!status) throw std::runtime_error("did not finish: " + command);
  if (!WIFEXITED(*status) || WEXITSTATUS(*status) != 0) {
    throw std::runtime_error("failed: " + command + "\n" + output);
  }
}

}  // namespace vrex::tls
