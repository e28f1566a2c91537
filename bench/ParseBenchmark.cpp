// Parsing the large answers (LargeAnswers.h) in memory on the heap, on a
// fresh arena and on a warm vrex::AnswerArena, with memcpy of the same bytes
// as the physical bound. Destroying the answer is part of each iteration: an
// application pays it.
#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>

#include <cstring>
#include <string>
#include <vector>

#include "GeneralInformationContainer.pb.h"
#include "LargeAnswers.h"
#include "MeasurementContainer.pb.h"
#include "vrex/AnswerArena.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;

template <class Answer>
void ParseOnHeap(benchmark::State& state, const std::string& (*wireOf)()) {
  const std::string& wire = wireOf();
  for (auto _ : state) {
    Answer answer;
    if (!answer.ParseFromString(wire)) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(answer);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * wire.size()));
}

template <class Answer>
void ParseOnArena(benchmark::State& state, const std::string& (*wireOf)()) {
  const std::string& wire = wireOf();
  google::protobuf::ArenaOptions options;
  options.start_block_size = 1 << 20;
  options.max_block_size = 16 << 20;
  for (auto _ : state) {
    google::protobuf::Arena arena(options);
    auto* answer = google::protobuf::Arena::CreateMessage<Answer>(&arena);
    if (!answer->ParseFromString(wire)) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(answer);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * wire.size()));
}

// The arena's blocks stay warm from one iteration to the next.
template <class Answer>
void ParseOnWarmArena(benchmark::State& state, const std::string& (*wireOf)()) {
  const std::string& wire = wireOf();
  vrex::AnswerArena warm;
  for (auto _ : state) {
    auto* answer = google::protobuf::Arena::CreateMessage<Answer>(&warm.Next());
    if (!answer->ParseFromString(wire)) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(answer);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * wire.size()));
}

void MemcpyBound(benchmark::State& state, const std::string& (*wireOf)()) {
  const std::string& wire = wireOf();
  std::vector<char> target(wire.size());
  for (auto _ : state) {
    std::memcpy(target.data(), wire.data(), wire.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * wire.size()));
  state.counters["answer_MB"] = static_cast<double>(wire.size()) / 1e6;
}

// Heap, arenas and memcpy of one answer shape, side by side.
template <class Answer>
void RegisterShape(const std::string& shape, const std::string& (*wireOf)()) {
  benchmark::RegisterBenchmark(("ParseOnHeap_" + shape).c_str(), ParseOnHeap<Answer>, wireOf)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark(("ParseOnArena_" + shape).c_str(), ParseOnArena<Answer>, wireOf)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark(("ParseOnWarmArena_" + shape).c_str(), ParseOnWarmArena<Answer>,
                               wireOf)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark(("MemcpyBound_" + shape).c_str(), MemcpyBound, wireOf)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
}

const bool kRegistered = [] {
  RegisterShape<dc::MeasurementContainer>("Vectors", &bench::VectorAnswer);
  RegisterShape<dc::GeneralInformationContainer>("Headers", &bench::HeaderAnswer);
  return true;
}();

}  // namespace
