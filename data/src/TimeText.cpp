#include "vrex/data/TimeText.h"

#include <cstdio>

namespace vrex::data {

std::string FormatElapsed(std::chrono::microseconds elapsed) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(elapsed.count()) / 1000.0);
  return text;
}

}  // namespace vrex::data
