// Parsing large answers on the heap and on an arena, with memcpy of the same
// bytes as the physical bound. Two shapes:
//   - Vectors: a MeasurementContainer of about 50 MB of vectors. A vector
//     point is a message of its own (VectorPoint, one float), so this is
//     seven million tiny sub-messages, not a packed array.
//   - Headers: a GeneralInformationContainer of many test headers, each
//     with seven strings, two time stamps and a map of additional
//     information: many small allocations of different sizes.
// Destroying the answer is part of each iteration: an application pays it.
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>

#include "GeneralInformationContainer.pb.h"
#include "MeasurementContainer.pb.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;

constexpr int kTests = 200;
constexpr int kVectorsPerTest = 5;
constexpr int kPointsPerVector = 7000;
constexpr int kHeaders = 200000;

const std::string& VectorAnswer() {
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

void FillHeader(int id, dc::GeneralInformation& header) {
  header.set_pkident(id);
  header.mutable_measurementtime()->set_value(1710223091 + 200 * id);
  header.mutable_timeofnextmeasurement()->set_value(1710223291 + 200 * id);
  header.set_serial("SN-24-" + std::to_string(1000000 + id));
  header.set_type("GX-200-4M");
  header.set_basetype("GX-200");
  header.set_bench("Bench-" + std::to_string(1 + id % 3));
  header.set_result(id % 17 == 0 ? "NOK" : "OK");
  header.set_testkind("End-of-line test");
  header.set_relativefilepath("2024/03/12/Bench-" + std::to_string(1 + id % 3) + "_20240312.kqa");
  header.set_fileoffset(4096 * (id % 1000));
  auto& info = *header.mutable_additionalinfo();
  info["Operator"] = "M. Weber";
  info["ProductionOrder"] = "PO-" + std::to_string(88000 + id / 500);
  info["Shift"] = id % 2 == 0 ? "Early" : "Late";
}

const std::string& HeaderAnswer() {
  static const std::string wire = [] {
    dc::GeneralInformationContainer container;
    for (int id = 0; id < kHeaders; ++id) FillHeader(id, *container.add_values());
    return container.SerializeAsString();
  }();
  return wire;
}

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

// Heap, arena and memcpy of one answer shape, side by side.
template <class Answer>
void RegisterShape(const std::string& shape, const std::string& (*wireOf)()) {
  benchmark::RegisterBenchmark(("ParseOnHeap_" + shape).c_str(), ParseOnHeap<Answer>, wireOf)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark(("ParseOnArena_" + shape).c_str(), ParseOnArena<Answer>, wireOf)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark(("MemcpyBound_" + shape).c_str(), MemcpyBound, wireOf)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
}

const bool kRegistered = [] {
  RegisterShape<dc::MeasurementContainer>("Vectors", &VectorAnswer);
  RegisterShape<dc::GeneralInformationContainer>("Headers", &HeaderAnswer);
  return true;
}();

}  // namespace
