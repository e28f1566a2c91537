// Resident memory and open file descriptors after many calls of each API,
// a hundredth of them to a server that is not there.
//
//   vrex_memory_growth [CALLS]     (default 100000)
#include <dirent.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>

#include "BenchServer.h"
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

// Calls `call(ok)` `calls` times; every hundredth call goes to a dead address.
void Measure(const char* name, long calls, const std::function<void(bool)>& call) {
  for (int warmUp = 0; warmUp < 1000; ++warmUp) call(warmUp % 100 != 0);
  bench::SharedServer().ClearJournal();
  const long rssBefore = ResidentKilobytes();
  const int fdsBefore = OpenDescriptors();
  for (long i = 0; i < calls; ++i) {
    call(i % 100 != 0);
    // The in-process stub journals every request; keep that out of the count.
    if (i % 1000 == 0) bench::SharedServer().ClearJournal();
  }
  bench::SharedServer().ClearJournal();
  std::printf("%-16s calls %7ld  RSS %7ld -> %7ld kB (%+ld kB)  fds %3d -> %3d\n", name, calls,
              rssBefore, ResidentKilobytes(), ResidentKilobytes() - rssBefore, fdsBefore,
              OpenDescriptors());
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const long calls = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 100000;
  const std::string live = bench::SharedServer().BaseUrl();
  const std::string dead = "http://127.0.0.1:1";  // nothing listens on port 1
  dc::ApiVersionQuery query;
  query.set_factory("Plant-North");

  vrex::ClientOptions liveOptions, deadOptions;
  liveOptions.baseUrl = live;
  deadOptions.baseUrl = dead;
  deadOptions.retry.maxAttempts = 1;
  const vrex::Client liveClient(liveOptions), deadClient(deadOptions);
  Measure("vrex::Client", calls, [&](bool ok) {
    (void)(ok ? liveClient : deadClient).Send(query);
  });

  std::fclose(stderr);  // Post prints one line per failed transfer.
  Measure("VrexClient::Post", calls, [&](bool ok) {
    dc::VersionDTO version;
    VrexClient::Post((ok ? live : dead) + "/api/ApiVersionQuery", query, version, "");
  });
  return 0;
}
