#pragma once
// A program started by a test, its standard output and error read through one
// pipe, with bounded waits so that a hung program fails the test.

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vrex::testing {

class ChildProcess {
 public:
  /// Starts `program` with `arguments`; throws std::runtime_error on failure.
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
  /// Kills the program if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// The next line of output without its newline, or nothing when the output
  /// ended or no line came within `timeout`.
  std::optional<std::string> ReadLine(std::chrono::milliseconds timeout);
  /// Everything the program still writes until it closes its output, bounded by `timeout`.
  std::string ReadRest(std::chrono::milliseconds timeout);

  void Signal(int signal) const;
  /// The wait status (see waitpid) once the program ended, or nothing when it
  /// still runs after `timeout`.
  std::optional<int> Wait(std::chrono::milliseconds timeout);
  /// The program's peak resident size, once Wait saw it end.
  long PeakResidentKilobytes() const { return peakResidentKilobytes_; }

 private:
  /// Reads what is available into buffer_; false at the end of output or on timeout.
  bool ReadMore(std::chrono::milliseconds timeout);

  pid_t pid_ = -1;
  int output_ = -1;
  std::string buffer_;
  bool ended_ = false;
  long peakResidentKilobytes_ = 0;
};

}  // namespace vrex::testing
