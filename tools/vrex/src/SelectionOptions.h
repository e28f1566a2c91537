#pragma once
// The options that choose a line and its tests (--factory, --line, --since,
// --from, --until, --last, --bench, --serial), turned into the filters of
// the result queries; and the line's time zone, read from the topology.

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "BenchFilter.pb.h"
#include "Console.h"
#include "TimeArguments.h"
#include "SerialNumberFilter.pb.h"
#include "SimpleTopologyContainer.pb.h"
#include "TimeFilter.pb.h"
#include "TopNFilter.pb.h"
#include "vrex/Client.h"
#include "vrex/Result.h"

namespace vrex::cli {

/// Tests asked for when neither a time window nor --last is given.
inline constexpr int kDefaultLastTests = 20;

struct SelectionArguments {
  std::string factory;
  std::string line;
  std::string since;
  std::string from;
  std::string until;
  int last = 0;
  std::vector<std::string> benches;
  std::vector<std::string> serials;
};

/// Adds --factory, --line and the time options --since, --from, --until.
void AddLineArguments(CLI::App& command, SelectionArguments& arguments, bool lineRequired = true);
/// Adds --last, --bench and --serial as well.
void AddSelectionArguments(CLI::App& command, SelectionArguments& arguments);

struct TimeWindow {
  std::optional<SystemTime> from;
  std::optional<SystemTime> until;
};

/// The window of --since, or --from and --until, read in `zone`.
Result<TimeWindow> ReadTimeWindow(const SelectionArguments& arguments, const data::LineTimeZone& zone,
                                  SystemTime now);

struct SelectionFilters {
  std::optional<Korvan::KQ::DataContracts::TimeFilter> time;
  std::optional<Korvan::KQ::DataContracts::TopNFilter> lastN;
  std::optional<Korvan::KQ::DataContracts::BenchFilter> bench;
  std::optional<Korvan::KQ::DataContracts::SerialNumberFilter> serial;
};

/// The filters of the arguments; the last kDefaultLastTests tests when no
/// time window and no --last is given (the server wants one of them).
Result<SelectionFilters> BuildSelectionFilters(const SelectionArguments& arguments,
                                               const data::LineTimeZone& zone, SystemTime now);

/// Puts line and filters into a query of the selection block.
template <class Query>
void ApplySelection(const SelectionArguments& arguments, const SelectionFilters& filters,
                    Query& query) {
  query.set_factory(arguments.factory);
  query.set_line(arguments.line);
  if (filters.time) *query.mutable_time() = *filters.time;
  if (filters.lastN) *query.mutable_lastn() = *filters.lastN;
  if (filters.bench) *query.mutable_bench() = *filters.bench;
  if (filters.serial) *query.mutable_serialnumber() = *filters.serial;
}

/// The time zone of the line, from the server's topology: asked for at
/// once, read when first needed, so that a request that does not depend on
/// it (tests by identifier, say) goes out meanwhile. UTC (with a note on
/// `console.err`) when the topology cannot be read or lacks the line.
class LineZoneLookUp {
 public:
  /// What a request sent after Get waited for, for messages.
  static constexpr const char* kWaitedFor =
      "the line's topology (SimpleTopologyQuery, for its time zone)";

  /// With `verbose`, Get says on stderr when it has to wait.
  LineZoneLookUp(const Client& client, std::string factory, std::string line, bool verbose = false);
  const data::LineTimeZone& Get(Console& console);

 private:
  using Topology = Korvan::KQ::DataContracts::SimpleTopologyContainer;
  AsyncCall<Result<Topology, Outcome>> topology_;
  std::string factory_;
  std::string line_;
  std::optional<data::LineTimeZone> zone_;
  bool verbose_;
};

}  // namespace vrex::cli
