#include "PlantOptions.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

#include "plant/PlantSchema.h"

namespace vrex::stub {

namespace fs = std::filesystem;

namespace {

// A cached plant older than this is generated anew, so that its newest tests
// stay near the present moment (`--since 1h` finds some).
constexpr std::chrono::minutes kFreshFor{10};

std::int64_t NowSeconds() {
  return std::chrono::duration_cast<std::chrono::seconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

fs::path CacheDirectory() {
  if (const char* cache = std::getenv("XDG_CACHE_HOME"); cache != nullptr && *cache != '\0') {
    return fs::path(cache) / "vrex-stub";
  }
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    return fs::path(home) / ".cache" / "vrex-stub";
  }
  return fs::temp_directory_path() / ("vrex-stub-" + std::to_string(getuid()));
}

bool Fresh(const fs::path& file) {
  std::error_code error;
  const auto written = fs::last_write_time(file, error);
  return !error && fs::file_time_type::clock::now() - written < kFreshFor;
}

std::string ReadToken(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw std::runtime_error(file + ": the token file cannot be read");
  std::string token((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  while (!token.empty() && (token.back() == '\n' || token.back() == '\r')) token.pop_back();
  return token;
}

}  // namespace

void AddPlantOptions(CLI::App& app, PlantOptions& options) {
  app.add_option(
      "--plant", options.plantFile,
      "Plant database (vrex-stub generate-plant) to answer from, after the cases of --data");
  app.add_option("--require-token", options.tokenFile,
                 "File holding the gateway token; the plant answers 401 to a request without it")
      ->check(CLI::ExistingFile);
  options.generate = app.add_subcommand("generate-plant", "Write a plant database and exit");
  options.generate->add_option("-o,--output", options.output, "The file to write")->required();
  options.generate->add_option("--tests", options.tests, "Tests of the whole plant (default 4000)")
      ->check(CLI::Range(std::int64_t{1}, std::int64_t{100'000'000}));
  options.generate
      ->add_option("--days", options.days, "Days the tests span, up to now (default 14)")
      ->check(CLI::Range(1, 3650));
  options.generate->add_option("--seed", options.seed,
                               "Seed: the same seed gives the same plant (default 1)");
  options.generate->add_option("--now", options.now,
                               "Seconds since 1970 taken as the present moment (default: now)");
}

int GeneratePlantCommand(const PlantOptions& options) {
  try {
    GeneratePlantFile(options.output, options.tests, options.days, options.seed,
                      options.now != 0 ? options.now : NowSeconds());
  } catch (const std::exception& error) {
    std::cerr << "vrex-stub: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
  std::cerr << "vrex-stub: wrote " << options.output << '\n';
  return EXIT_SUCCESS;
}

std::shared_ptr<const Plant> OpenPlant(const PlantOptions& options, bool useDefault,
                                       fs::path& copy) {
  fs::path file = options.plantFile;
  if (file.empty()) {
    if (!useDefault) return nullptr;
    const fs::path directory = CacheDirectory();
    fs::create_directories(directory);
    // One cached plant per layout of the file: a stub of another version regenerates its own.
    const fs::path cached =
        directory / ("small-plant-v" + std::to_string(plant::kPlantSchemaVersion) + ".sqlite");
    if (!Fresh(cached)) GeneratePlantFile(cached, PlantOptions{}.tests, 14, 1, NowSeconds());
    // Commands change the plant: each stub changes its own copy.
    copy = file =
        fs::temp_directory_path() / ("vrex-stub-plant-" + std::to_string(getpid()) + ".sqlite");
    fs::copy_file(cached, file, fs::copy_options::overwrite_existing);
  }
  auto plant = std::make_shared<Plant>(file);
  if (!options.tokenFile.empty()) plant->RequireToken(ReadToken(options.tokenFile));
  return plant;
}

}  // namespace vrex::stub
