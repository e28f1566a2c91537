#pragma once
// Server log entries as a table, times in the line's zone.

#include <string>

#include "LineTimeZone.h"
#include "LogEntryContainer.pb.h"

namespace vrex::cli {

/// A heading naming the context, then time, level, source and message of
/// each entry; an exception follows its entry on indented lines.
std::string RenderLog(const Korvan::KQ::DataContracts::LogEntryContainer& log,
                      const LineTimeZone& zone);

}  // namespace vrex::cli
