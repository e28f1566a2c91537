#include "TopologyTree.h"

#include <chrono>

#include "TerminalText.h"
#include "vrex/data/Iso8601.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;

constexpr std::string_view kBranch = "\u251c\u2500\u2500 ";      // "├── "
constexpr std::string_view kLastBranch = "\u2514\u2500\u2500 ";  // "└── "
constexpr std::string_view kStem = "\u2502   ";                  // "│   "
constexpr std::string_view kNoStem = "    ";

std::string ZoneText(const dc::TimezoneInfo& zone) {
  const std::string& name =
      zone.ianatimezoneid().empty() ? zone.windowstimezoneid() : zone.ianatimezoneid();
  return (name.empty() ? "" : name + ", ") + "UTC" +
         data::FormatUtcOffset(std::chrono::minutes(zone.utcoffsetinminutes()));
}

std::string LineLabel(const dc::Line& line) {
  std::string label = line.name() + "  (" + DescribeTimeZone(line);
  if (line.has_benchtimezoneid() &&
      (!line.has_timezoneid() ||
       line.benchtimezoneid().ianatimezoneid() != line.timezoneid().ianatimezoneid())) {
    label += "; benches " + ZoneText(line.benchtimezoneid());
  }
  return label + ")";
}

// One node of the tree: its branch, its text, and the prefix its children get.
std::string Node(const std::string& prefix, bool last, const std::string& text) {
  return prefix + std::string(last ? kLastBranch : kBranch) + Printable(text) + "\n";
}

std::string ChildPrefix(const std::string& prefix, bool last) {
  return prefix + std::string(last ? kNoStem : kStem);
}

}  // namespace

std::string DescribeTimeZone(const dc::Line& line) {
  return line.has_timezoneid() ? ZoneText(line.timezoneid()) : "time zone not stated";
}

std::string RenderTopologyTree(const dc::SimpleTopologyContainer& topology) {
  if (topology.values_size() == 0) {
    return "The server knows no factories.\n";
  }
  std::string tree = "Plant\n";
  for (int f = 0; f < topology.values_size(); ++f) {
    const dc::Factory& factory = topology.values(f);
    const bool lastFactory = f + 1 == topology.values_size();
    tree += Node("", lastFactory, factory.name());
    const std::string linePrefix = ChildPrefix("", lastFactory);
    for (int l = 0; l < factory.lines_size(); ++l) {
      const dc::Line& line = factory.lines(l);
      const bool lastLine = l + 1 == factory.lines_size();
      tree += Node(linePrefix, lastLine, LineLabel(line));
      const std::string benchPrefix = ChildPrefix(linePrefix, lastLine);
      for (int b = 0; b < line.testbenches_size(); ++b) {
        tree += Node(benchPrefix, b + 1 == line.testbenches_size(), line.testbenches(b).name());
      }
    }
  }
  return tree;
}

const dc::Line* FindLine(const dc::SimpleTopologyContainer& topology, std::string_view factory,
                         std::string_view line) {
  for (const dc::Factory& candidate : topology.values()) {
    if (candidate.name() != factory) {
      continue;
    }
    for (const dc::Line& candidateLine : candidate.lines()) {
      if (candidateLine.name() == line) {
        return &candidateLine;
      }
    }
  }
  return nullptr;
}

}  // namespace vrex::cli
