#include "vrex/data/Clavis.h"

#include <array>
#include <functional>
#include <string_view>
#include <vector>

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
  return seed ^
         (hash + static_cast<std::size_t>(0x9e3779b97f4a7c15ULL) + (seed << 6) + (seed >> 2));
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

Result<Clavis> ParseClavis(std::string_view text) {
  std::vector<std::string> parts;
  for (std::size_t start = 0;;) {
    const std::size_t slash = text.find('/', start);
    parts.emplace_back(text.substr(start, slash - start));
    if (slash == std::string_view::npos) break;
    start = slash + 1;
  }
  if (parts.size() != 6) {
    return Result<Clavis>::Failure(
        "\"" + std::string(text) + "\" has " + std::to_string(parts.size()) +
        " parts; write all six as Mode/Instrument/Channel/Location/InstrumentParameter/Sensor "
        "(empty parts allowed)");
  }
  Clavis clavis;
  clavis.set_mode(parts[0]);
  clavis.set_instrument(parts[1]);
  clavis.set_channel(parts[2]);
  clavis.set_location(parts[3]);
  clavis.set_instrumentparameter(parts[4]);
  clavis.set_sensor(parts[5]);
  return Result<Clavis>::Success(std::move(clavis));
}

}  // namespace vrex::data
