#pragma once
// Writes a plant database: the topology, shifts, name tables and types of a
// small gearbox plant, and its tests up to a given moment, with retests of
// failed units, defects and reference units. The same options (seed and
// `now` included) always give the same file, byte for byte.

#include <cstdint>
#include <filesystem>

namespace vrex::stub::plant {

struct GeneratorOptions {
  /// Tests of the whole plant, shared equally by its lines.
  std::int64_t tests = 4000;
  /// The tests are spread over this many days before `now`.
  int days = 14;
  std::uint64_t seed = 1;
  /// Seconds since 1970 (UTC) of the newest possible test.
  std::int64_t now = 0;
};

/// Writes the plant into `file`, replacing it whole (a new file renamed over
/// it). Throws SqliteError or std::runtime_error when it cannot.
void GeneratePlant(const std::filesystem::path& file, const GeneratorOptions& options);

}  // namespace vrex::stub::plant
