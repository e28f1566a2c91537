#include "ChildProcess.h"

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>
#include <utility>

namespace vrex::testing {

namespace {

[[noreturn]] void RunInChild(const std::string& program, const std::vector<std::string>& arguments,
                             int outputPipe) {
  ::dup2(outputPipe, STDOUT_FILENO);
  ::dup2(outputPipe, STDERR_FILENO);
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const auto& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  ::execv(program.c_str(), argv.data());
  ::_exit(127);
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments) {
  int pipeEnds[2];
  if (::pipe(pipeEnds) != 0) {
    throw std::runtime_error("pipe() failed");
  }
  pid_ = ::fork();
  if (pid_ < 0) {
    throw std::runtime_error("fork() failed");
  }
  if (pid_ == 0) {
    ::close(pipeEnds[0]);
    RunInChild(program, arguments, pipeEnds[1]);
  }
  ::close(pipeEnds[1]);
  output_ = pipeEnds[0];
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  ::close(output_);
}

bool ChildProcess::ReadMore(std::chrono::milliseconds timeout) {
  if (ended_) {
    return false;
  }
  pollfd fd{output_, POLLIN, 0};
  if (::poll(&fd, 1, static_cast<int>(timeout.count())) <= 0) {
    return false;
  }
  char chunk[4096];
  const ssize_t n = ::read(output_, chunk, sizeof chunk);
  if (n <= 0) {
    ended_ = true;
    return false;
  }
  buffer_.append(chunk, static_cast<std::size_t>(n));
  return true;
}

std::optional<std::string> ChildProcess::ReadLine(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    const auto newline = buffer_.find('\n');
    if (newline != std::string::npos) {
      std::string line = buffer_.substr(0, newline);
      buffer_.erase(0, newline + 1);
      return line;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || !ReadMore(left)) {
      return std::nullopt;
    }
  }
}

std::string ChildProcess::ReadRest(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || !ReadMore(left)) {
      break;
    }
  }
  return std::exchange(buffer_, {});
}

void ChildProcess::Signal(int signal) const { ::kill(pid_, signal); }

std::optional<int> ChildProcess::Wait(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    int status = 0;
    rusage usage{};
    if (::wait4(pid_, &status, WNOHANG, &usage) == pid_) {
      pid_ = -1;
      peakResidentKilobytes_ = usage.ru_maxrss;
      return status;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      return std::nullopt;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace vrex::testing
