#include "vrex/data/Axes.h"

#include <algorithm>

namespace vrex::data {
namespace {

namespace contracts = Korvan::KQ::DataContracts;

// Longest list of points among the rows of a track or matrix.
template <typename Rows>
std::size_t LongestRow(const Rows& rows) {
  std::size_t longest = 0;
  for (const auto& row : rows) longest = std::max(longest, static_cast<std::size_t>(row.vectorpoints_size()));
  return longest;
}

}  // namespace

double AxisValue(const contracts::AxisRange& axis, std::size_t index) {
  return static_cast<double>(axis.start()) + static_cast<double>(index) * static_cast<double>(axis.delta());
}

std::vector<double> AxisValues(const contracts::AxisRange& axis, std::size_t count) {
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = AxisValue(axis, i);
  return values;
}

std::vector<double> Abscissas(const contracts::Vector& vector) {
  return AxisValues(vector.xaxisrange(), static_cast<std::size_t>(vector.values_size()));
}

std::vector<double> Abscissas(const contracts::VectorTrack& track) {
  return AxisValues(track.xaxisrange(), LongestRow(track.values()));
}

std::vector<double> Abscissas(const contracts::Matrix& matrix) {
  return AxisValues(matrix.xaxisrange(), LongestRow(matrix.values()));
}

std::vector<double> RowPositions(const contracts::Matrix& matrix) {
  return AxisValues(matrix.zaxisrange(), static_cast<std::size_t>(matrix.values_size()));
}

}  // namespace vrex::data
