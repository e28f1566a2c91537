#pragma once
// The plant as a tree of factories, lines and benches, with the time zone
// of each line, and the look-up of one line by its names.

#include <string>
#include <string_view>

#include "SimpleTopologyContainer.pb.h"

namespace vrex::cli {

/// One line per factory, line and bench, drawn with box-drawing characters.
std::string RenderTopologyTree(const Korvan::KQ::DataContracts::SimpleTopologyContainer& topology);

/// "Europe/Berlin, UTC+01:00" for a line's time zone; "time zone not stated".
std::string DescribeTimeZone(const Korvan::KQ::DataContracts::Line& line);

/// The line `line` of factory `factory`, or nullptr.
const Korvan::KQ::DataContracts::Line* FindLine(
    const Korvan::KQ::DataContracts::SimpleTopologyContainer& topology, std::string_view factory,
    std::string_view line);

}  // namespace vrex::cli
