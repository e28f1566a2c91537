#include "ExternalProgram.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "ChildProcess.h"

namespace vrex::tls {

namespace {

std::vector<std::string> SearchDirectories() {
  std::vector<std::string> directories;
  const char* path = std::getenv("PATH");
  std::istringstream entries(path != nullptr ? path : "");
  for (std::string entry; std::getline(entries, entry, ':');) {
    if (!entry.empty()) directories.push_back(entry);
  }
  return directories;
}

std::string CommandText(const std::string& program, const std::vector<std::string>& arguments) {
  std::string text = program;
  for (const auto& argument : arguments) text += " " + argument;
  return text;
}

}  // namespace

std::optional<std::string> FindProgram(const std::string& name) {
  for (const auto& directory : SearchDirectories()) {
    const std::string candidate = directory + "/" + name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return std::nullopt;
}

void RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                std::chrono::milliseconds timeout) {
  testing::ChildProcess child(program, arguments);
  const std::string output = child.ReadRest(timeout);
  const std::optional<int> status = child.Wait(std::chrono::seconds(5));
  if (!status) {
    throw std::runtime_error("did not finish: " + CommandText(program, arguments));
  }
  if (!WIFEXITED(*status) || WEXITSTATUS(*status) != 0) {
    throw std::runtime_error("failed: " + CommandText(program, arguments) + "\n" + output);
  }
}

}  // namespace vrex::tls
