#include "SharedDeadline.h"

#include <cstdio>

namespace vrex::cli {

namespace {

using std::chrono::milliseconds;

milliseconds Whole(const ServerArguments& server) {
  return milliseconds(static_cast<long long>(server.timeoutSeconds * 1000.0));
}

std::string Seconds(milliseconds time) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f s", static_cast<double>(time.count()) / 1000.0);
  return text;
}

}  // namespace

SharedDeadline::SharedDeadline(const ServerArguments& server, Console& console)
    : server_(server),
      console_(console),
      deadline_(std::chrono::steady_clock::now() + Whole(server)),
      options_(MakeClientOptions(server, console)),
      first_(options_) {}

std::optional<Client> SharedDeadline::ForTheRest(const std::string& request,
                                                 const std::string& waitedFor) const {
  const auto left =
      std::chrono::duration_cast<milliseconds>(deadline_ - std::chrono::steady_clock::now());
  if (left < milliseconds(1)) {
    console_.err << "vrex: timed out: waiting for " << waitedFor << " took all of --timeout ("
                 << Seconds(Whole(server_)) << "), none was left for " << request
                 << " \u2014 raise --timeout, or check the server\n";
    return std::nullopt;
  }
  ClientOptions options = options_;
  options.totalTimeout = left;
  if (server_.verbose) {
    console_.err << "* " << request << ": " << Seconds(left) << " of --timeout left\n";
  }
  return Client(std::move(options));
}

}  // namespace vrex::cli
