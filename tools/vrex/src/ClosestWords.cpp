#include "ClosestWords.h"

#include <algorithm>

namespace vrex::cli {

namespace {

// Edits between `a` and `b`, a swap of neighbours counting as one.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (std::size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t substitution = d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, substitution});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
      }
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

std::vector<std::string> ClosestWords(std::string_view word,
                                      const std::vector<std::string>& candidates) {
  std::size_t best = std::max<std::size_t>(2, word.size() / 3);
  std::vector<std::string> closest;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = EditDistance(word, candidate);
    if (distance < best) closest.clear();
    if (distance <= best) {
      best = distance;
      closest.push_back(candidate);
    }
  }
  return closest;
}

}  // namespace vrex::cli
