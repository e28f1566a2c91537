#include "WireTrace.h"

#include <ostream>

#include "vrex/data/TimeText.h"

namespace vrex::cli {

std::string FormatTraceEvent(WireTraceKind kind, std::string_view text) {
  const std::string_view prefix = kind == WireTraceKind::Info             ? "* "
                                  : kind == WireTraceKind::RequestHeaders ? "> "
                                                                          : "< ";
  std::string lines;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) {
      end = text.size();
    }
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') {
      line.remove_suffix(1);
    }
    if (!line.empty()) {
      lines.append(prefix).append(line).append("\n");
    }
    start = end + 1;
  }
  return lines;
}

WireTraceHandler MakeTraceWriter(std::ostream& err) {
  return [&err](WireTraceKind kind, std::string_view text) {
    err << FormatTraceEvent(kind, text) << std::flush;
  };
}

std::string FormatTraceSummary(const Outcome& outcome) {
  const std::string elapsed = data::FormatElapsed(outcome.Elapsed());
  const std::string status =
      outcome.HttpStatus() != 0 ? "HTTP " + std::to_string(outcome.HttpStatus()) : "no answer";
  const int attempts = outcome.Attempts();
  return "* " + outcome.RequestType() + ": " + status + ", " + std::to_string(attempts) +
         (attempts == 1 ? " attempt, " : " attempts, ") + elapsed + "\n";
}

}  // namespace vrex::cli
