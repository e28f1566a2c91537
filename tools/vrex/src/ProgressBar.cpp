#include "ProgressBar.h"

#include <cstdio>
#include <ostream>

#include "vrex/data/Text.h"

namespace vrex::cli {

namespace {
constexpr int kBarWidth = 30;
}

std::string RenderProgress(std::uint64_t received, std::uint64_t expected) {
  if (expected == 0) {
    return data::FormatBytes(received) + " received";
  }
  const std::uint64_t shown = received < expected ? received : expected;
  const int percent = static_cast<int>(shown * 100 / expected);
  const int filled = static_cast<int>(shown * kBarWidth / expected);
  char percentText[8];
  std::snprintf(percentText, sizeof percentText, "%3d%%", percent);
  return "[" + std::string(static_cast<std::size_t>(filled), '#') +
         std::string(static_cast<std::size_t>(kBarWidth - filled), ' ') + "] " + percentText +
         "  " + data::FormatBytes(received) + " of " + data::FormatBytes(expected);
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
