#pragma once
// The exit status of vrex, derived from what became of the call, so that
// scripts can tell a typo from a server that is down.

#include <string_view>
#include <vector>

#include "vrex/Outcome.h"

namespace vrex::cli {

enum class ExitCode : int {
  Ok = 0,
  Failure = 1,             ///< anything not listed below
  Usage = 2,               ///< bad arguments, unknown type, request JSON that does not fit
  Transport = 3,           ///< the server could not be reached (no HTTP exchange)
  Rejected = 4,            ///< the server answered 4xx
  ServerFailed = 5,        ///< the server answered another status than 200 or 4xx
  BadAnswer = 6,           ///< 200, but the answer is not the expected message
  VersionNotAccepted = 7,  ///< `vrex version`: the server speaks another interface
  FileFailed = 8,          ///< a download could not be written
};

struct ExitCodeMeaning {
  ExitCode code;
  std::string_view meaning;
};

/// Every exit code with its meaning, for help texts and documentation.
const std::vector<ExitCodeMeaning>& ExitCodeTable();

ExitCode ExitCodeFor(const Outcome& outcome);

constexpr int ToInt(ExitCode code) { return static_cast<int>(code); }

}  // namespace vrex::cli
