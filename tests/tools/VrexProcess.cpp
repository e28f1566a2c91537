#include "VrexProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace vrex::testing {

namespace {

constexpr std::chrono::seconds kPatience{60};

struct Pipe {
  int read = -1;
  int write = -1;
};

Pipe MakePipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe failed");
  }
  return {ends[0], ends[1]};
}

[[noreturn]] void ExecVrex(const std::vector<std::string>& arguments, const ProcessInput& input,
                           const Pipe& in, const Pipe& out, const Pipe& err) {
  dup2(in.read, STDIN_FILENO);
  dup2(out.write, STDOUT_FILENO);
  dup2(err.write, STDERR_FILENO);
  unsetenv("VREX_TOKEN");
  for (const auto& [name, value] : input.environment) {
    setenv(name.c_str(), value.c_str(), 1);
  }
  std::vector<char*> argv;
  static char program[] = VREX_EXECUTABLE;
  argv.push_back(program);
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  execv(program, argv.data());
  _exit(127);
}

// Feeds stdin and drains stdout and stderr until both close or time runs out.
bool Exchange(const std::string& standardInput, int in, int out, int err, ProcessResult& result) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  std::size_t written = 0;
  if (standardInput.empty()) {
    close(in);
    in = -1;
  }
  std::array<std::string*, 2> sinks = {&result.out, &result.err};
  std::array<int, 2> sources = {out, err};
  while (sources[0] >= 0 || sources[1] >= 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      return false;
    }
    std::array<pollfd, 3> polls = {{{sources[0], POLLIN, 0}, {sources[1], POLLIN, 0},
                                    {in, POLLOUT, 0}}};
    if (poll(polls.data(), polls.size(), static_cast<int>(left.count())) < 0) {
      return false;
    }
    for (std::size_t i = 0; i < 2; ++i) {
      if (sources[i] >= 0 && polls[i].revents != 0) {
        char buffer[4096];
        const ssize_t got = read(sources[i], buffer, sizeof buffer);
        if (got <= 0) {
          close(sources[i]);
          sources[i] = -1;
        } else {
          sinks[i]->append(buffer, static_cast<std::size_t>(got));
        }
      }
    }
    if (in >= 0 && polls[2].revents != 0) {
      const ssize_t sent = write(in, standardInput.data() + written, standardInput.size() - written);
      written += sent > 0 ? static_cast<std::size_t>(sent) : standardInput.size();
      if (written >= standardInput.size()) {
        close(in);
        in = -1;
      }
    }
  }
  if (in >= 0) {
    close(in);
  }
  return true;
}

}  // namespace

ProcessResult RunVrexProcess(const std::vector<std::string>& arguments, const ProcessInput& input) {
  // A closed stdin pipe must not kill the test with SIGPIPE.
  signal(SIGPIPE, SIG_IGN);
  const Pipe in = MakePipe();
  const Pipe out = MakePipe();
  const Pipe err = MakePipe();
  const pid_t pid = fork();
  if (pid < 0) {
    throw std::runtime_error("fork failed");
  }
  if (pid == 0) {
    ExecVrex(arguments, input, in, out, err);
  }
  close(in.read);
  close(out.write);
  close(err.write);
  ProcessResult result;
  const bool finished = Exchange(input.standardInput, in.write, out.read, err.read, result);
  if (!finished) {
    kill(pid, SIGKILL);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  result.exitCode = finished && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

}  // namespace vrex::testing
