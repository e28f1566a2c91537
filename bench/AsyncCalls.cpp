// Many small calls: one after the other with Send against all at once with
// SendAll, measured side by side in one run against vrex-stub processes (so
// that this process's CPU time is the client's alone):
//   - 64 queries to a server that answers each after 20 ms (wall time);
//   - calls per second and client CPU time per call against a server that
//     answers at once.
//
//   vrex_async_calls [ROUNDS]     (default 5; medians are printed)
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// A vrex-stub process answering the version query from `data`.
class StubProcess {
 public:
  explicit StubProcess(const fs::path& data) {
    int out[2];
    if (pipe(out) != 0) std::abort();
    pid_ = fork();
    if (pid_ == 0) {
      dup2(out[1], STDOUT_FILENO);
      close(out[0]);
      std::freopen("/dev/null", "w", stderr);
      execl(VREX_STUB_EXECUTABLE, VREX_STUB_EXECUTABLE, "--data", data.c_str(), "--threads",
            "32", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(out[1]);
    std::string line;
    char c = 0;
    while (read(out[0], &c, 1) == 1 && c != '\n') line += c;
    close(out[0]);
    url_ = line.substr(line.rfind(' ') + 1);  // "vrex-stub listening on URL"
  }
  ~StubProcess() {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }
  const std::string& Url() const { return url_; }

 private:
  pid_t pid_;
  std::string url_;
};

fs::path DataDirectory(const std::string& name, int delayMilliseconds) {
  const fs::path directory = fs::temp_directory_path() / (name + std::to_string(getpid()));
  fs::create_directories(directory);
  std::ofstream(directory / "ApiVersionQuery.json") << R"({"Major": 4, "Minor": 2})";
  if (delayMilliseconds > 0) {
    std::ofstream(directory / "ApiVersionQuery.meta") << "delay-ms = " << delayMilliseconds << "\n";
  }
  return directory;
}

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Run {
  double wall = 0;  // seconds
  double cpu = 0;   // seconds of this process
};

template <class Work>
Run Measure(Work work) {
  const double cpuBefore = CpuSeconds();
  const auto start = Clock::now();
  work();
  return {std::chrono::duration<double>(Clock::now() - start).count(), CpuSeconds() - cpuBefore};
}

std::vector<dc::ApiVersionQuery> Queries(std::size_t count) {
  std::vector<dc::ApiVersionQuery> queries(count);
  for (auto& query : queries) query.set_factory("Plant-North");
  return queries;
}

void OneByOne(const vrex::Client& client, const std::vector<dc::ApiVersionQuery>& queries) {
  for (const auto& query : queries) {
    if (!client.Send(query)) std::abort();
  }
}

void AllAtOnce(const vrex::Client& client, const std::vector<dc::ApiVersionQuery>& queries,
               std::size_t batch) {
  for (std::size_t at = 0; at < queries.size(); at += batch) {
    const std::vector<dc::ApiVersionQuery> part(
        queries.begin() + static_cast<long>(at),
        queries.begin() + static_cast<long>(std::min(queries.size(), at + batch)));
    for (const auto& result : client.SendAll(part)) {
      if (!result) std::abort();
    }
  }
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
  const fs::path quickData = DataDirectory("vrex-bench-quick-", 0);
  const fs::path slowData = DataDirectory("vrex-bench-slow-", 20);
  const StubProcess quick(quickData), slow(slowData);
  vrex::ClientOptions options;
  options.baseUrl = slow.Url();
  const vrex::Client slowClient(options);
  options.baseUrl = quick.Url();
  const vrex::Client quickClient(options);

  const auto slowQueries = Queries(64);
  const auto quickQueries = Queries(4000);
  OneByOne(quickClient, Queries(200));  // warm-up: connections, the event thread
  AllAtOnce(quickClient, Queries(200), 64);

  std::vector<double> slowSend, slowAsync, sendRate, asyncRate, sendCpu, asyncCpu;
  for (int round = 0; round < rounds; ++round) {
    slowSend.push_back(Measure([&] { OneByOne(slowClient, slowQueries); }).wall);
    slowAsync.push_back(Measure([&] { AllAtOnce(slowClient, slowQueries, 64); }).wall);
    const Run send = Measure([&] { OneByOne(quickClient, quickQueries); });
    const Run async = Measure([&] { AllAtOnce(quickClient, quickQueries, 64); });
    const double calls = static_cast<double>(quickQueries.size());
    sendRate.push_back(calls / send.wall);
    asyncRate.push_back(calls / async.wall);
    sendCpu.push_back(send.cpu / calls * 1e6);
    asyncCpu.push_back(async.cpu / calls * 1e6);
  }
  std::printf("64 queries, server answers after 20 ms (median of %d rounds)\n", rounds);
  std::printf("  Send one by one      %8.1f ms\n", Median(slowSend) * 1e3);
  std::printf("  SendAll, 8 conns     %8.1f ms   ratio %.1fx less wall time\n",
              Median(slowAsync) * 1e3, Median(slowSend) / Median(slowAsync));
  std::printf("%zu queries, server answers at once\n", quickQueries.size());
  std::printf("  Send one by one      %8.0f calls/s  %6.1f us client CPU per call\n",
              Median(sendRate), Median(sendCpu));
  std::printf("  SendAll, batches 64  %8.0f calls/s  %6.1f us client CPU per call\n",
              Median(asyncRate), Median(asyncCpu));
  std::printf("  ratios: calls/s %.2f, CPU per call %.2f\n", Median(asyncRate) / Median(sendRate),
              Median(asyncCpu) / Median(sendCpu));
  fs::remove_all(quickData);
  fs::remove_all(slowData);
  return 0;
}
