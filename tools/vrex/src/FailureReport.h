#pragma once
// What a failed call means to the people and scripts that ran vrex: an exit
// status that tells a typo from a server that is down, and one line that
// names the cause and what to try next.

#include <string>
#include <string_view>
#include <vector>

#include "vrex/Outcome.h"

namespace vrex::cli {

enum class ExitCode : int {
  Ok = 0,
  Failure = 1,             ///< anything not listed below
  Usage = 2,               ///< bad arguments, unknown type, request JSON that does not fit
  Transport = 3,           ///< the server could not be reached (no connection)
  Rejected = 4,            ///< the server answered 4xx
  ServerFailed = 5,        ///< the server answered another status than 200 or 4xx
  BadAnswer = 6,           ///< 200, but the answer is not the expected message
  VersionNotAccepted = 7,  ///< `vrex version`: the server speaks another interface
  FileFailed = 8,          ///< a download could not be written
  TimedOut = 9,            ///< connected, but the answer did not come or finish in time
  BrokenAnswer = 10,       ///< the server answered, but not in readable HTTP
  TooLarge = 11,           ///< the answer was larger than --max-answer-size
};

struct ExitCodeMeaning {
  ExitCode code;
  std::string_view meaning;
};

/// Every exit code with its meaning, for help texts and documentation.
const std::vector<ExitCodeMeaning>& ExitCodeTable();

ExitCode ExitCodeFor(const Outcome& outcome);

constexpr int ToInt(ExitCode code) { return static_cast<int>(code); }

/// E.g. "cannot reach http://host:8080: Connection refused (is the server
/// running? check the URL)". `baseUrl` is the server the call went to. The
/// hint follows the outcome's FailureCause, never the transfer's wording.
std::string DescribeFailure(const Outcome& outcome, std::string_view baseUrl);

}  // namespace vrex::cli
