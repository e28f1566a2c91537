#include "ProgressBar.h"

#include <cstdio>
#include <ostream>

namespace vrex::cli {

namespace {
constexpr int kBarWidth = 30;
}

std::string FormatBytes(std::uint64_t bytes) {
  if (bytes < 1024) {
    return std::to_string(bytes) + " B";
  }
  static constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB"};
  double value = static_cast<double>(bytes) / 1024.0;
  std::size_t unit = 0;
  while (value >= 1024.0 && unit + 1 < std::size(kUnits)) {
    value /= 1024.0;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %s", value, kUnits[unit]);
  return text;
}

std::string RenderProgress(std::uint64_t received, std::uint64_t expected) {
  if (expected == 0) {
    return FormatBytes(received) + " received";
  }
  const std::uint64_t shown = received < expected ? received : expected;
  const int percent = static_cast<int>(shown * 100 / expected);
  const int filled = static_cast<int>(shown * kBarWidth / expected);
  char percentText[8];
  std::snprintf(percentText, sizeof percentText, "%3d%%", percent);
  return "[" + std::string(static_cast<std::size_t>(filled), '#') +
         std::string(static_cast<std::size_t>(kBarWidth - filled), ' ') + "] " + percentText +
         "  " + FormatBytes(received) + " of " + FormatBytes(expected);
}

void ProgressBar::Update(std::uint64_t received, std::uint64_t expected) {
  std::string text = RenderProgress(received, expected);
  if (text == shown_) {
    return;
  }
  // Blanks cover the rest of a longer earlier text.
  const std::size_t covered = shown_.size() > text.size() ? shown_.size() - text.size() : 0;
  terminal_ << '\r' << text << std::string(covered, ' ') << std::flush;
  shown_ = std::move(text);
}

void ProgressBar::Finish() {
  if (!shown_.empty()) {
    terminal_ << '\n' << std::flush;
    shown_.clear();
  }
}

}  // namespace vrex::cli
