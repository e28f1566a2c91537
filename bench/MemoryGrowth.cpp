// Resident memory and open file descriptors after many calls of each API,
// with every hundredth call to a server that is not there; then separately
// with every call to the live server and with every call to the dead one.
// VrexClient::Post keeps the handle of a failed transfer, so what failures
// leave must be told apart from what every call leaves. Failures are counted
// per target: a failure on the live server (e.g. no free local port) would
// leave the same as a deliberate one.
//
//   vrex_memory_growth [CALLS]     (default 100000)
#include <dirent.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include "BenchServer.h"
#include "LoopbackPort.h"
#include "VrexClient.h"
#include "vrex/Client.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;

long ResidentKilobytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
  }
  return -1;
}

int OpenDescriptors() {
  int count = 0;
  if (DIR* dir = opendir("/proc/self/fd")) {
    while (readdir(dir) != nullptr) ++count;
    closedir(dir);
  }
  return count - 3;  // ".", ".." and the directory itself
}

/// One call of an API, to the live server or the dead address; true when it
/// succeeded.
using Call = std::function<bool(bool live)>;

struct Tally {
  long liveFailures = 0;
  long deadFailures = 0;
};

Tally RunCalls(long calls, long deadEvery, const Call& call) {
  Tally tally;
  for (long i = 0; i < calls; ++i) {
    const bool live = deadEvery == 0 || i % deadEvery != 0;
    if (!call(live)) ++(live ? tally.liveFailures : tally.deadFailures);
    // The in-process stub journals every request; keep that out of the count.
    if (i % 1000 == 0) bench::SharedServer().ClearJournal();
  }
  bench::SharedServer().ClearJournal();
  return tally;
}

// `deadEvery`: every n-th call goes to the dead address; 0: none, 1: all.
void Measure(const char* name, long calls, long deadEvery, const Call& call) {
  RunCalls(1000, deadEvery, call);  // warm-up: pools, caches, allocator arenas
  const long rssBefore = ResidentKilobytes();
  const int fdsBefore = OpenDescriptors();
  const Tally tally = RunCalls(calls, deadEvery, call);
  const long rssGrowth = ResidentKilobytes() - rssBefore;
  const int fdGrowth = OpenDescriptors() - fdsBefore;
  std::printf("%-26s calls %7ld  failures live %5ld dead %6ld  RSS %+8ld kB  fds %+6d  "
              "per call %6.3f kB %5.2f fds\n",
              name, calls, tally.liveFailures, tally.deadFailures, rssGrowth, fdGrowth,
              static_cast<double>(rssGrowth) / static_cast<double>(calls),
              static_cast<double>(fdGrowth) / static_cast<double>(calls));
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const long calls = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 100000;
  const std::string live = bench::SharedServer().BaseUrl();
  const std::string dead = vrex::testing::UnreachableUrl();
  dc::ApiVersionQuery query;
  query.set_factory("Plant-North");

  vrex::ClientOptions liveOptions, deadOptions;
  liveOptions.baseUrl = live;
  deadOptions.baseUrl = dead;
  liveOptions.retry.maxAttempts = deadOptions.retry.maxAttempts = 1;
  const vrex::Client liveClient(liveOptions), deadClient(deadOptions);
  const Call sessionCall = [&](bool toLive) {
    return (toLive ? liveClient : deadClient).Send(query).Ok();
  };
  const Call asyncCall = [&](bool toLive) {
    return (toLive ? liveClient : deadClient).SendAsync(query).Get().Ok();
  };
  const Call postCall = [&](bool toLive) {
    dc::VersionDTO version;
    return VrexClient::Post((toLive ? live : dead) + "/api/ApiVersionQuery", query, version, "")
               .codecategory() == 0;
  };

  // The all-live and all-dead runs of Post split its growth into the part
  // every call leaves and the part a failed transfer leaves.
  Measure("vrex::Client, 1% dead", calls, 100, sessionCall);
  Measure("vrex::Client, all dead", calls / 100, 1, sessionCall);
  Measure("vrex::Client async, 1% dead", calls, 100, asyncCall);
  Measure("vrex::Client async, all dead", calls / 100, 1, asyncCall);
  std::fclose(stderr);  // Post prints one line per failed transfer.
  Measure("VrexClient::Post, 1% dead", calls, 100, postCall);
  Measure("VrexClient::Post, all live", calls, 0, postCall);
  Measure("VrexClient::Post, all dead", calls / 100, 1, postCall);
  return 0;
}
