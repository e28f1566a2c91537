#include "SelectionOptions.h"

#include "SimpleTopologyQuery.pb.h"
#include "TimeArguments.h"
#include "TopologyTree.h"
#include "vrex/data/Time.h"

namespace vrex::cli {

namespace dc = ::Korvan::KQ::DataContracts;

void AddLineArguments(CLI::App& command, SelectionArguments& arguments, bool lineRequired) {
  command.add_option("--factory", arguments.factory, "Factory of the line (see `vrex topology`)")
      ->required(lineRequired);
  command.add_option("--line", arguments.line, "Line")->required(lineRequired);
  CLI::Option* since = command.add_option("--since", arguments.since,
                                          "Only what happened since then: 2h, 30m, 1d or ISO 8601");
  CLI::Option* from =
      command.add_option("--from", arguments.from, "Start of the window (ISO 8601 or 2h ago)");
  CLI::Option* until =
      command.add_option("--until", arguments.until, "End of the window (ISO 8601 or 2h ago)");
  since->excludes(from)->excludes(until);
}

void AddSelectionArguments(CLI::App& command, SelectionArguments& arguments) {
  AddLineArguments(command, arguments);
  command.add_option("--last", arguments.last, "Only the last N tests")
      ->check(CLI::Validator(
          [](const std::string& text) {
            return text.find_first_not_of("0123456789") == std::string::npos &&
                           text.find_first_not_of('0') != std::string::npos
                       ? std::string()
                       : "a count of tests, 1 or more, not \"" + text + "\"";
          },
          "N"));
  command.add_option("--bench", arguments.benches, "Only tests of this bench (repeatable)");
  command.add_option("--serial", arguments.serials, "Only tests of this serial (repeatable)");
}

Result<TimeWindow> ReadTimeWindow(const SelectionArguments& arguments, const data::LineTimeZone& zone,
                                  SystemTime now) {
  TimeWindow window;
  const std::pair<const std::string*, std::optional<SystemTime>*> bounds[] = {
      {arguments.since.empty() ? &arguments.from : &arguments.since, &window.from},
      {&arguments.until, &window.until}};
  for (const auto& [text, bound] : bounds) {
    if (text->empty()) {
      continue;
    }
    const auto time = ParseTimeArgument(*text, now, zone);
    if (!time.Ok()) {
      return Result<TimeWindow>::Failure(time.GetStatus().Message());
    }
    *bound = time.Value();
  }
  if (window.from && window.until && *window.until < *window.from) {
    return Result<TimeWindow>::Failure("--until lies before --from");
  }
  return Result<TimeWindow>::Success(window);
}

Result<SelectionFilters> BuildSelectionFilters(const SelectionArguments& arguments,
                                               const data::LineTimeZone& zone, SystemTime now) {
  const auto window = ReadTimeWindow(arguments, zone, now);
  if (!window.Ok()) {
    return Result<SelectionFilters>::Failure(window.GetStatus().Message());
  }
  SelectionFilters filters;
  if (window.Value().from || window.Value().until) {
    filters.time.emplace();
    // An open end of the window reaches to now.
    *filters.time->mutable_from() =
        data::FromSystemTime(window.Value().from.value_or(SystemTime::min()));
    *filters.time->mutable_until() = data::FromSystemTime(window.Value().until.value_or(now));
  }
  if (arguments.last > 0 || !filters.time) {
    filters.lastN.emplace();
    filters.lastN->set_topn(arguments.last > 0 ? arguments.last : kDefaultLastTests);
  }
  if (!arguments.benches.empty()) {
    filters.bench.emplace();
    for (const std::string& bench : arguments.benches) filters.bench->add_items(bench);
  }
  if (!arguments.serials.empty()) {
    filters.serial.emplace();
    for (const std::string& serial : arguments.serials) filters.serial->add_items(serial);
  }
  return Result<SelectionFilters>::Success(std::move(filters));
}

LineZoneLookUp::LineZoneLookUp(const Client& client, std::string factory, std::string line,
                               bool verbose)
    : topology_(client.SendAsync(dc::SimpleTopologyQuery())),
      factory_(std::move(factory)),
      line_(std::move(line)),
      verbose_(verbose) {}

const data::LineTimeZone& LineZoneLookUp::Get(Console& console) {
  if (zone_) {
    return *zone_;
  }
  if (verbose_ && !topology_.IsReady()) console.err << "* waiting for " << kWaitedFor << "\n";
  const auto topology = topology_.Get();
  const dc::Line* found = topology.Ok() ? FindLine(topology.Value(), factory_, line_) : nullptr;
  if (topology.Ok() && found == nullptr) {
    console.err << "vrex: note: the topology has no line \"" << line_ << "\" in factory \""
                << factory_ << "\" (see `vrex topology`); times are in UTC\n";
  }
  // A topology that cannot be read: the request that follows reports why.
  return zone_.emplace(found != nullptr ? data::LineTimeZone::Of(*found) : data::LineTimeZone::Utc());
}

}  // namespace vrex::cli
