// The large answers (LargeAnswers.h) end to end through vrex::Client from
// nginx on loopback (StaticAnswerServer.h): sent for, received, parsed and
// destroyed in every iteration.
//   EndToEnd_Default/threads:0       Send as it comes: the answer on an arena of its own
//                                    on the client's warm blocks, default parsing threads
//   EndToEnd_DefaultAsync/threads:0  the same through SendAsync
//   EndToEnd_HeapAnswer              the answer on the heap (the generic Send), as Send
//                                    made it before answers got their own arena
//   EndToEnd_FreshArena/threads:1    a new google::protobuf::Arena per call
//   EndToEnd_WarmArena               a vrex::AnswerArena kept from call to call
//   threads:N                        ParseOptions::threads (0: the default); with more
//                                    than one, parsed in slices while it arrives
//   Download                         the bytes alone, to a sink: the network's share
// peak_MB: resident memory at the peak of the benchmark, above its start.
#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>
#include <malloc.h>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "LargeAnswers.h"
#include "StaticAnswerServer.h"
#include "vrex/AnswerArena.h"
#include "vrex/Client.h"
#include "vrex/Contracts.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;

enum class Memory { Default, DefaultAsync, HeapAnswer, FreshArena, WarmArena };

const bench::StaticAnswerServer& Server() {
  static const bench::StaticAnswerServer server(
      {{"MeasurementQuery", bench::VectorAnswer()},
       {"GeneralInformationQuery", bench::HeaderAnswer()}});
  return server;
}

long StatusKilobytes(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string name; status >> name;) {
    long value = 0;
    if (name == field && status >> value) return value;
    status.ignore(1 << 10, '\n');
  }
  return 0;
}

// Linux: freed heap memory goes back to the system first, and the peak
// resident size (VmHWM) starts again from the current one.
class PeakResidentGrowth {
 public:
  PeakResidentGrowth() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    start_ = StatusKilobytes("VmRSS:");
  }
  double Megabytes() const { return static_cast<double>(StatusKilobytes("VmHWM:") - start_) / 1e3; }

 private:
  long start_ = 0;
};

vrex::ClientOptions Options(unsigned threads) {
  vrex::ClientOptions options;
  options.baseUrl = Server().BaseUrl();
  options.retry.maxAttempts = 1;
  options.parsing.threads = threads;
  return options;
}

template <class Query>
using CountOf = std::size_t (*)(const vrex::AnswerOf<Query>&);

template <class Query>
void EndToEnd(benchmark::State& state, Memory memory, CountOf<Query> countOf) {
  const vrex::Client client(Options(static_cast<unsigned>(state.range(0))));
  vrex::AnswerArena warm;
  const Query query;
  const PeakResidentGrowth peak;
  for (auto _ : state) {
    if (memory == Memory::HeapAnswer) {
      vrex::AnswerOf<Query> answer;
      const vrex::Outcome outcome = client.Send(query, answer);
      if (!outcome || countOf(answer) == 0) state.SkipWithError(outcome.Message().c_str());
      continue;
    }
    std::optional<google::protobuf::Arena> fresh;  // outlives the answer
    const auto answer = memory == Memory::Default        ? client.Send(query)
                        : memory == Memory::DefaultAsync ? client.SendAsync(query).Get()
                        : memory == Memory::FreshArena   ? client.Send(query, fresh.emplace())
                                                         : client.Send(query, warm.Next());
    if (!answer || countOf(*answer) == 0) state.SkipWithError(answer.GetStatus().Message().c_str());
  }
  state.counters["peak_MB"] = peak.Megabytes();
}

template <class Query>
void DownloadOnly(benchmark::State& state) {
  const vrex::Client client(Options(1));
  for (auto _ : state) {
    std::uint64_t received = 0;
    const vrex::Outcome outcome =
        client.Download(vrex::RequestTraits<Query>::kName, Query(), [&](std::string_view chunk) {
          received += chunk.size();
          return true;
        });
    if (!outcome.Ok() || received == 0) state.SkipWithError(outcome.Message().c_str());
  }
}

template <class Query>
void RegisterShape(const std::string& shape, CountOf<Query> countOf) {
  const auto add = [&](const std::string& name, Memory memory, std::vector<int64_t> threads) {
    auto* benchmark = benchmark::RegisterBenchmark(("EndToEnd_" + name + "_" + shape).c_str(),
                                                   EndToEnd<Query>, memory, countOf);
    // CPU: of the whole client process, parsing threads included (nginx not).
    benchmark->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
    benchmark->ArgName("threads");
    for (const int64_t count : threads) benchmark->Arg(count);
  };
  add("Default", Memory::Default, {0});
  add("DefaultAsync", Memory::DefaultAsync, {0});
  add("HeapAnswer", Memory::HeapAnswer, {0, 1, 4});
  add("FreshArena", Memory::FreshArena, {1});
  add("WarmArena", Memory::WarmArena, {0, 1, 2, 4});
  benchmark::RegisterBenchmark(("Download_" + shape).c_str(), DownloadOnly<Query>)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
}

const bool kRegistered = [] {
  RegisterShape<dc::MeasurementQuery>("Vectors",
                                      [](const dc::MeasurementContainer& answer) -> std::size_t {
                                        return static_cast<std::size_t>(answer.measurements_size());
                                      });
  RegisterShape<dc::GeneralInformationQuery>(
      "Headers", [](const dc::GeneralInformationContainer& answer) -> std::size_t {
        return static_cast<std::size_t>(answer.values_size());
      });
  return true;
}();

}  // namespace
