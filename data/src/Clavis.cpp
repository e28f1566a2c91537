#include "vrex/data/Clavis.h"

#include <array>
#include <functional>
#include <string_view>

namespace vrex::data {
namespace {

using Korvan::KQ::DataContracts::Clavis;

std::array<std::string_view, 6> PartsOf(const Clavis& clavis) {
  return {clavis.mode(),     clavis.instrument(),          clavis.channel(),
          clavis.location(), clavis.instrumentparameter(), clavis.sensor()};
}

std::size_t Combine(std::size_t seed, std::size_t hash) {
  // The usual golden-ratio mix: spreads each part's hash over the seed so
  // that the order of the parts matters.
  return seed ^ (hash + static_cast<std::size_t>(0x9e3779b97f4a7c15ULL) + (seed << 6) + (seed >> 2));
}

}  // namespace

bool ClavisEqual::operator()(const Clavis& a, const Clavis& b) const noexcept {
  return PartsOf(a) == PartsOf(b);
}

std::size_t ClavisHash::operator()(const Clavis& clavis) const noexcept {
  std::size_t seed = 0;
  for (std::string_view part : PartsOf(clavis)) {
    seed = Combine(seed, std::hash<std::string_view>{}(part));
  }
  return seed;
}

std::string DescribeClavis(const Clavis& clavis) {
  const auto parts = PartsOf(clavis);
  std::string text(parts[0]);
  for (std::size_t i = 1; i < parts.size(); ++i) {
    text += '/';
    text += parts[i];
  }
  return text;
}

}  // namespace vrex::data
