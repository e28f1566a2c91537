#include "vrex/data/Tracks.h"

#include <cmath>
#include <limits>
#include <set>

#include "vrex/data/Axes.h"

namespace vrex::data {
namespace {

namespace contracts = Korvan::KQ::DataContracts;

template <typename Element>
std::vector<float> OrdinatesOf(const Element& element) {
  std::vector<float> ordinates;
  ordinates.reserve(static_cast<std::size_t>(element.vectorpoints_size()));
  for (const contracts::VectorPoint& point : element.vectorpoints()) ordinates.push_back(point.y());
  return ordinates;
}

// The identifier a z names, when it is a whole number in the int32 range.
bool AsIdentifier(double z, std::int32_t& identifier) {
  if (!(z >= std::numeric_limits<std::int32_t>::min() && z <= std::numeric_limits<std::int32_t>::max()) ||
      std::trunc(z) != z) {
    return false;
  }
  identifier = static_cast<std::int32_t>(z);
  return true;
}

// Gives each row the test its z names and strikes that test from `unmatched`.
void MatchRowsToTests(
    const google::protobuf::Map<std::int32_t, contracts::MeasurementInformation>& tests,
    std::vector<TrackRow>& rows, std::set<std::int32_t>& unmatched) {
  for (TrackRow& row : rows) {
    std::int32_t identifier = 0;
    if (!AsIdentifier(row.z, identifier)) continue;
    const auto found = tests.find(identifier);
    if (found == tests.end()) continue;
    row.test = &found->second;
    unmatched.erase(identifier);
  }
}

}  // namespace

Track ReadTrack(const contracts::VectorTrack& vectorTrack) {
  Track track;
  track.abscissas = Abscissas(vectorTrack);
  track.rows.reserve(static_cast<std::size_t>(vectorTrack.values_size()));
  for (const contracts::VectorTrackElement& element : vectorTrack.values()) {
    track.rows.push_back({element.z(), OrdinatesOf(element), nullptr});
  }
  return track;
}

Track ReadTrack(const contracts::Matrix& matrix) {
  Track track;
  track.abscissas = Abscissas(matrix);
  const std::vector<double> positions = RowPositions(matrix);
  track.rows.reserve(positions.size());
  for (std::size_t j = 0; j < positions.size(); ++j) {
    track.rows.push_back({positions[j], OrdinatesOf(matrix.values(static_cast<int>(j))), nullptr});
  }
  return track;
}

Track TrackAcrossTests(const contracts::VectorTrackOfMeasurementsContainer& answer, TrackZ meaning) {
  Track track = ReadTrack(answer.vectortrack());
  std::set<std::int32_t> unmatched;
  for (const auto& entry : answer.measurementinfos()) unmatched.insert(entry.first);
  if (meaning == TrackZ::TestIdentifier) {
    MatchRowsToTests(answer.measurementinfos(), track.rows, unmatched);
  }
  track.testsWithoutRow.assign(unmatched.begin(), unmatched.end());
  return track;
}

}  // namespace vrex::data
