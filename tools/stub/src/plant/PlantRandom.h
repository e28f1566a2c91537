#pragma once
// The plant's own random numbers: SplitMix64, the same sequence for a seed on
// every platform and library (the standard distributions are not), so a seed
// always gives the same plant.

#include <cstdint>
#include <vector>

namespace vrex::stub::plant {

class PlantRandom {
 public:
  explicit PlantRandom(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }
  /// Uniform in [0, 1).
  double Unit() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }
  /// Uniform in [low, high).
  double Between(double low, double high) { return low + (high - low) * Unit(); }
  /// Uniform in [0, count).
  std::uint64_t Below(std::uint64_t count) { return count == 0 ? 0 : Next() % count; }
  bool Chance(double probability) { return Unit() < probability; }
  template <typename T>
  const T& Pick(const std::vector<T>& items) {
    return items[Below(items.size())];
  }

 private:
  std::uint64_t state_;
};

}  // namespace vrex::stub::plant
