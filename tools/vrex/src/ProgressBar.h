#pragma once
// The progress of a download on one terminal line, redrawn in place:
// "[#########           ]  45%  1.2 MiB of 2.6 MiB", or the bytes so far
// when the server announces no length.

#include <cstdint>
#include <iosfwd>
#include <string>

namespace vrex::cli {


/// The text of the bar for `received` of `expected` bytes (0: unknown),
/// without the carriage return.
std::string RenderProgress(std::uint64_t received, std::uint64_t expected);

class ProgressBar {
 public:
  explicit ProgressBar(std::ostream& terminal) : terminal_(terminal) {}

  /// Redraws the line when its text changed.
  void Update(std::uint64_t received, std::uint64_t expected);
  /// Ends the line, if one was drawn.
  void Finish();

 private:
  std::ostream& terminal_;
  std::string shown_;
};

}  // namespace vrex::cli
