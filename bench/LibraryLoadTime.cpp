// How long loading the shared library takes: each sample is a fresh process
// that dlopen()s the library with every symbol bound at once (RTLD_NOW), so
// relocation, symbol binding and the static initialisers that register the
// contract descriptors are all counted. Several libraries given on the
// command line are measured in turns, so that they see the same machine.
//
//   vrex_load_time [--samples N] LIBRARY...
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// Runs in a child process; returns the microseconds dlopen took, -1 on failure.
long LoadOnce(const char* library) {
  const auto start = std::chrono::steady_clock::now();
  void* handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
  const auto end = std::chrono::steady_clock::now();
  if (handle == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return -1;
  }
  return static_cast<long>(
      std::chrono::duration_cast<std::chrono::microseconds>(end - start).count());
}

long SampleInChild(const char* library) {
  int pipeEnds[2];
  if (pipe(pipeEnds) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    close(pipeEnds[0]);
    const long micros = LoadOnce(library);
    const ssize_t written = write(pipeEnds[1], &micros, sizeof micros);
    _exit(written == sizeof micros ? 0 : 1);
  }
  close(pipeEnds[1]);
  long micros = -1;
  if (read(pipeEnds[0], &micros, sizeof micros) != sizeof micros) micros = -1;
  close(pipeEnds[0]);
  waitpid(child, nullptr, 0);
  return micros;
}

long Median(std::vector<long> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  int samples = 41;
  std::vector<const char*> libraries;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--samples" && i + 1 < argc) {
      samples = std::max(1, std::atoi(argv[++i]));
    } else {
      libraries.push_back(argv[i]);
    }
  }
  if (libraries.empty()) {
    std::fprintf(stderr, "usage: vrex_load_time [--samples N] LIBRARY...\n");
    return 2;
  }
  std::vector<std::vector<long>> times(libraries.size());
  for (int sample = 0; sample < samples; ++sample) {
    for (std::size_t i = 0; i < libraries.size(); ++i) {
      const long micros = SampleInChild(libraries[i]);
      if (micros < 0) return 1;
      times[i].push_back(micros);
    }
  }
  for (std::size_t i = 0; i < libraries.size(); ++i) {
    std::printf("%-60s median %6.2f ms over %d loads\n", libraries[i], Median(times[i]) / 1000.0,
                samples);
  }
  return 0;
}
