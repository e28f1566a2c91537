// The stub's plant against canned answers, side by side in one run: small
// queries (a canned version answer against the plant's), a large measurement
// answer (computed by the plant against the same bytes canned), and a one-day
// query of one line of a large plant; the plant's server time of each, in
// process, shows what it adds beyond the noise of a busy machine. The plant is
// generated first (VREX_PLANT_BENCH_TESTS tests over 60 days, default
// 1 000 000) unless VREX_PLANT_BENCH_FILE names one; its generation time, size
// and the process's peak memory are printed at the end.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "ApiVersionQuery.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "MeasurementContainer.pb.h"
#include "MeasurementQuery.pb.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"
#include "vrex/stub/Plant.h"
#include "vrex/stub/StubServer.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace fs = std::filesystem;

constexpr int kLargeAnswerTests = 600;  // about 95 MB of measurements

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::seconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

struct PlantUnderTest {
  fs::path file;
  double generationSeconds = 0;
  std::int64_t tests = 0;
  std::int64_t now = Now();
};

PlantUnderTest& ThePlant() {
  static PlantUnderTest plant = [] {
    PlantUnderTest made;
    if (const char* file = std::getenv("VREX_PLANT_BENCH_FILE")) {
      made.file = file;
      return made;
    }
    const char* tests = std::getenv("VREX_PLANT_BENCH_TESTS");
    made.tests = tests != nullptr ? std::atoll(tests) : 1'000'000;
    made.file = fs::temp_directory_path() / "vrex-plant-bench.sqlite";
    const auto start = std::chrono::steady_clock::now();
    vrex::stub::GeneratePlantFile(made.file, made.tests, 60, 1, made.now);
    made.generationSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return made;
  }();
  return plant;
}

std::shared_ptr<const vrex::stub::Plant> SharedPlant() {
  static const auto plant = std::make_shared<const vrex::stub::Plant>(ThePlant().file);
  return plant;
}

vrex::stub::StubServer& PlantServer() {
  static vrex::stub::StubServer& server = []() -> vrex::stub::StubServer& {
    static vrex::stub::StubServer instance;
    instance.SetPlant(SharedPlant());
    instance.Start();
    return instance;
  }();
  return server;
}

dc::MeasurementQuery LargeQuery() {
  dc::MeasurementQuery query;
  query.set_factory("Plant-North");
  query.set_line("Line-A");
  query.mutable_lastn()->set_topn(kLargeAnswerTests);
  return query;
}

vrex::stub::StubServer& CannedServer() {
  static vrex::stub::StubServer& server = []() -> vrex::stub::StubServer& {
    static vrex::stub::StubServer instance;
    vrex::stub::JournalEntry request;
    // The same bytes the plant gives, canned: the version and the large answer.
    instance.SetAnswer("ApiVersionQuery", *SharedPlant()->Answer("ApiVersionQuery", request));
    request.body = LargeQuery().SerializeAsString();
    instance.SetAnswer("MeasurementQuery", *SharedPlant()->Answer("MeasurementQuery", request));
    instance.Start();
    return instance;
  }();
  return server;
}

std::unique_ptr<vrex::Client> ClientOf(vrex::stub::StubServer& server) {
  vrex::ClientOptions options;
  options.baseUrl = server.BaseUrl();
  return std::make_unique<vrex::Client>(options);
}

void SmallQuery(benchmark::State& state, vrex::stub::StubServer& server) {
  const auto client = ClientOf(server);
  for (auto _ : state) {
    const auto version = client->Send(dc::ApiVersionQuery());
    if (!version || version->major() != 4) state.SkipWithError("call failed");
  }
  state.SetItemsProcessed(state.iterations());
}
void SmallQueryCanned(benchmark::State& state) { SmallQuery(state, CannedServer()); }
void SmallQueryPlant(benchmark::State& state) { SmallQuery(state, PlantServer()); }
BENCHMARK(SmallQueryCanned)->UseRealTime();
BENCHMARK(SmallQueryPlant)->UseRealTime();

/// What the plant adds to a small query: its server time, in process.
void SmallQueryPlantServerTime(benchmark::State& state) {
  vrex::stub::JournalEntry request;
  for (auto _ : state) {
    const auto answer = SharedPlant()->Answer("ApiVersionQuery", request);
    if (!answer || answer->status != 200) state.SkipWithError("query failed");
  }
}
BENCHMARK(SmallQueryPlantServerTime);

void LargeMeasurements(benchmark::State& state, vrex::stub::StubServer& server) {
  const auto client = ClientOf(server);
  const dc::MeasurementQuery query = LargeQuery();
  std::int64_t bytes = 0;
  for (auto _ : state) {
    const auto answer = client->Send(query);
    if (!answer || answer->measurements_size() != kLargeAnswerTests)
      state.SkipWithError("call failed");
    bytes += static_cast<std::int64_t>(answer ? answer->ByteSizeLong() : 0);
  }
  state.SetBytesProcessed(bytes);
}
void LargeMeasurementsCanned(benchmark::State& state) { LargeMeasurements(state, CannedServer()); }
void LargeMeasurementsPlant(benchmark::State& state) { LargeMeasurements(state, PlantServer()); }
BENCHMARK(LargeMeasurementsCanned)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(LargeMeasurementsPlant)->UseRealTime()->Unit(benchmark::kMillisecond);

/// The plant's server time for the large answer, in process: what it adds to
/// sending the same bytes canned.
void LargeMeasurementsPlantServerTime(benchmark::State& state) {
  vrex::stub::JournalEntry request;
  request.body = LargeQuery().SerializeAsString();
  std::int64_t bytes = 0;
  for (auto _ : state) {
    const auto answer = SharedPlant()->Answer("MeasurementQuery", request);
    if (!answer || answer->status != 200) state.SkipWithError("query failed");
    bytes += static_cast<std::int64_t>(answer ? answer->body.size() : 0);
  }
  state.SetBytesProcessed(bytes);
  state.counters["answer_MB"] = static_cast<double>(bytes) / 1e6 / state.iterations();
}
BENCHMARK(LargeMeasurementsPlantServerTime)->UseRealTime()->Unit(benchmark::kMillisecond);

/// Server time of a query for one day of one line: Plant::Answer in process.
void OneDayOfOneLine(benchmark::State& state) {
  dc::GeneralInformationQuery query;
  query.set_factory("Plant-North");
  query.set_line("Line-A");
  const std::int64_t until = ThePlant().now - 86400 * 7;
  query.mutable_time()->mutable_from()->set_value(until - 86400);
  query.mutable_time()->mutable_from()->set_scale(bcl::DateTime_TimeSpanScale_SECONDS);
  query.mutable_time()->mutable_until()->set_value(until);
  query.mutable_time()->mutable_until()->set_scale(bcl::DateTime_TimeSpanScale_SECONDS);
  vrex::stub::JournalEntry request;
  request.body = query.SerializeAsString();
  std::optional<vrex::stub::CannedAnswer> answer;
  for (auto _ : state) {
    answer = SharedPlant()->Answer("GeneralInformationQuery", request);
    benchmark::DoNotOptimize(answer);
  }
  // Read once, outside the time: the client's parsing is no server time.
  dc::GeneralInformationContainer container;
  if (!answer || answer->status != 200 || !container.ParseFromString(answer->body)) {
    state.SkipWithError("query failed");
  }
  state.counters["tests"] = static_cast<double>(container.values_size());
}
BENCHMARK(OneDayOfOneLine)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  ThePlant();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const PlantUnderTest& plant = ThePlant();
  std::cout << "plant: " << plant.file.string() << ", " << fs::file_size(plant.file) / 1'000'000.0
            << " MB";
  if (plant.tests > 0)
    std::cout << ", " << plant.tests << " tests generated in " << plant.generationSeconds << " s";
  std::cout << "\npeak resident memory of this process: " << usage.ru_maxrss / 1024 << " MiB\n";
  return 0;
}
