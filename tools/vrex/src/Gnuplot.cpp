#include "Gnuplot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

#include "PendingFile.h"
#include "PlotScript.h"

extern char** environ;

namespace vrex::cli {

namespace {

// gnuplot's own words, without its echo of the script line it stopped at.
std::string Complaint(const std::string& errors) {
  std::istringstream lines(errors);
  std::string complaint;
  for (std::string line; std::getline(lines, line);) {
    if (line.find_first_not_of(" ^") == std::string::npos || line.rfind("         ", 0) == 0) {
      continue;
    }
    complaint += (complaint.empty() ? "" : "; ") + line;
  }
  return complaint.empty() ? "no message" : complaint;
}

}  // namespace

std::string FindProgram(const std::string& program) {
  if (program.find('/') != std::string::npos) {
    return access(program.c_str(), X_OK) == 0 ? program : "";
  }
  const char* path = std::getenv("PATH");
  std::istringstream directories(path != nullptr ? path : "/usr/bin:/bin");
  for (std::string directory; std::getline(directories, directory, ':');) {
    const std::filesystem::path candidate =
        std::filesystem::path(directory.empty() ? "." : directory) / program;
    if (access(candidate.c_str(), X_OK) == 0 && !std::filesystem::is_directory(candidate)) {
      return candidate.string();
    }
  }
  return "";
}

std::string WhyNotRunnable(const std::string& program) {
  if (program.find('/') == std::string::npos) {
    return program + " is not installed; " + kGnuplotInstallHint;
  }
  const int failure = access(program.c_str(), X_OK) == 0 ? 0 : errno;
  return "cannot run " + program + ": " + std::strerror(failure);
}

Error RunGnuplot(const std::string& path, const std::string& script, const std::string& output) {
  const std::string scratch = (std::filesystem::temp_directory_path() / "vrex-plot").string();
  PendingFile scriptFile(scratch + ".gp");
  PendingFile errorFile(scratch + ".err");
  if (!scriptFile.Status().Ok() || !errorFile.Status().Ok()) {
    return scriptFile.Status().Ok() ? errorFile.Status() : scriptFile.Status();
  }
  scriptFile.Write(script);
  if (Error written = scriptFile.Flush(); !written.Ok()) {  // a failed Write too
    return written;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const std::string errorPath = errorFile.Path();
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorPath.c_str(), O_WRONLY | O_TRUNC,
                                   0);
  const std::string setOutput = "output = " + GnuplotString(output);
  std::vector<std::string> arguments = {path, "-e", setOutput, scriptFile.Path()};
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, path.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) {
    return Error("cannot run " + path + ": " + std::strerror(spawned));
  }
  int status = 0;
  waitpid(pid, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
    return Error();
  }
  std::ifstream errors(errorPath);
  return Error("gnuplot failed: " +
               Complaint(std::string(std::istreambuf_iterator<char>(errors), {})));
}

}  // namespace vrex::cli
