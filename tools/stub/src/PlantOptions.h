#pragma once
// vrex-stub's plant: the options that choose it (--plant, --require-token),
// the generate-plant subcommand, and the small plant generated (or reused from
// the cache) when neither --data nor --plant is given.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "vrex/stub/Plant.h"

namespace vrex::stub {

struct PlantOptions {
  std::string plantFile;
  std::string tokenFile;  ///< --require-token: the file holding the token
  // generate-plant
  CLI::App* generate = nullptr;
  std::string output;
  std::int64_t tests = 4000;
  int days = 14;
  std::uint64_t seed = 1;
  std::int64_t now = 0;  ///< 0: the present moment
};

/// Adds --plant, --require-token and the generate-plant subcommand.
void AddPlantOptions(CLI::App& app, PlantOptions& options);

/// Runs generate-plant; returns the program's exit status.
int GeneratePlantCommand(const PlantOptions& options);

/// The plant the stub serves: --plant's file, or with `useDefault` a private
/// copy (`copy`, for the caller to remove) of the cached small plant, which
/// is generated first when missing or older than ten minutes; nullptr when
/// neither applies. Throws std::runtime_error.
std::shared_ptr<const Plant> OpenPlant(const PlantOptions& options, bool useDefault,
                                       std::filesystem::path& copy);

}  // namespace vrex::stub
