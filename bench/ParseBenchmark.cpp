// Parsing a large measurement answer (about 50 MB of vectors): on the heap,
// on an arena, and memcpy of the same bytes as the physical bound.
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>

#include "MeasurementContainer.pb.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;

constexpr int kTests = 200;
constexpr int kVectorsPerTest = 5;
constexpr int kPointsPerVector = 7000;

const std::string& LargeAnswer() {
  static const std::string wire = [] {
    dc::MeasurementContainer container;
    for (int test = 0; test < kTests; ++test) {
      dc::Measurement& measurement = (*container.mutable_measurements())[1000 + test];
      measurement.mutable_generalinformation()->set_pkident(1000 + test);
      auto& values = *measurement.mutable_measurementvalues();
      for (int handle = 0; handle < kVectorsPerTest; ++handle) {
        (*values.mutable_keys())[handle].set_channel("Mic-" + std::to_string(handle));
        dc::Vector* vector = (*values.mutable_values())[handle].mutable_vector();
        for (int point = 0; point < kPointsPerVector; ++point) {
          vector->add_values()->set_y(0.5f + static_cast<float>(point % 97));
        }
      }
    }
    return container.SerializeAsString();
  }();
  return wire;
}

void ParseOnHeap(benchmark::State& state) {
  const std::string& wire = LargeAnswer();
  for (auto _ : state) {
    dc::MeasurementContainer container;
    if (!container.ParseFromString(wire)) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(container);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * wire.size()));
}
BENCHMARK(ParseOnHeap)->Unit(benchmark::kMillisecond)->UseRealTime();

void ParseOnArena(benchmark::State& state) {
  const std::string& wire = LargeAnswer();
  google::protobuf::ArenaOptions options;
  options.start_block_size = 1 << 20;
  options.max_block_size = 16 << 20;
  for (auto _ : state) {
    google::protobuf::Arena arena(options);
    auto* container = google::protobuf::Arena::CreateMessage<dc::MeasurementContainer>(&arena);
    if (!container->ParseFromString(wire)) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(container);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * wire.size()));
}
BENCHMARK(ParseOnArena)->Unit(benchmark::kMillisecond)->UseRealTime();

void MemcpyBound(benchmark::State& state) {
  const std::string& wire = LargeAnswer();
  std::vector<char> target(wire.size());
  for (auto _ : state) {
    std::memcpy(target.data(), wire.data(), wire.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * wire.size()));
}
BENCHMARK(MemcpyBound)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
