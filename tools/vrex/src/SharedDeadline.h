#pragma once
// One --timeout for the requests a command sends one after the other (the
// line's topology, for its time zone, then the tests): a request sent after
// another has waited gets only what is left, so a server that never
// answers costs one time-out, not one per request.

#include <chrono>
#include <optional>
#include <string>

#include "ConnectionOptions.h"
#include "Console.h"
#include "vrex/Client.h"

namespace vrex::cli {

class SharedDeadline {
 public:
  SharedDeadline(const ServerArguments& server, Console& console);

  /// The client of the requests sent at once, with all of --timeout.
  const Client& First() const { return first_; }

  /// A client for `request`, sent now (perhaps after waiting for
  /// `waitedFor`), whose time-out is what is left; none, with a message that
  /// names both, when nothing is left. With -v, says how much is left.
  std::optional<Client> ForTheRest(const std::string& request, const std::string& waitedFor) const;

 private:
  const ServerArguments& server_;
  Console& console_;
  std::chrono::steady_clock::time_point deadline_;
  ClientOptions options_;
  Client first_;
};

}  // namespace vrex::cli
