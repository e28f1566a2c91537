#pragma once
// The `-v` trace on standard error, in the style people know from HTTP
// tools: "* " notes, "> " request lines, "< " answer lines.

#include <iosfwd>
#include <string>
#include <string_view>

#include "vrex/ClientOptions.h"
#include "vrex/Outcome.h"

namespace vrex::cli {

/// The lines of one trace event, each with its prefix, blank lines dropped.
std::string FormatTraceEvent(WireTraceKind kind, std::string_view text);

/// A handler that writes the events to `err`.
WireTraceHandler MakeTraceWriter(std::ostream& err);

/// "* MeasurementQuery: HTTP 200, 1 attempt, 3.2 ms" after the call.
std::string FormatTraceSummary(const Outcome& outcome);

}  // namespace vrex::cli
