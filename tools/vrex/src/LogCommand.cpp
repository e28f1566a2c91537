#include <memory>

#include "AnswerCsv.h"
#include "AnswerTables.h"
#include "Commands.h"
#include "LogEntryQuery.pb.h"
#include "LogLevel.pb.h"
#include "SelectionOptions.h"
#include "SharedDeadline.h"
#include "vrex/data/Time.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;
namespace en = ::Korvan::KQ::DataContracts::Enumerator;

struct LogArguments {
  ServerArguments server;
  SelectionArguments selection;
  std::string bench;
  std::string source;
  std::string level;
  bool json = false;
  bool csv = false;
};

std::string LevelNames() {
  std::string names;
  for (int level = en::LogLevel_MIN; level <= en::LogLevel_MAX; ++level) {
    if (en::LogLevel_IsValid(level)) {
      names += (names.empty() ? "" : ", ") + en::LogLevel_Name(static_cast<en::LogLevel>(level));
    }
  }
  return names;
}

Result<dc::LogEntryQuery> BuildLogQuery(const LogArguments& arguments, const data::LineTimeZone& zone) {
  dc::LogEntryQuery query;
  const SelectionArguments& selection = arguments.selection;
  if (!selection.factory.empty()) query.set_factory(selection.factory);
  if (!selection.line.empty()) query.set_line(selection.line);
  if (!arguments.bench.empty()) query.set_testbench(arguments.bench);
  if (!arguments.source.empty()) query.set_sourcecontext(arguments.source);
  if (!arguments.level.empty()) {
    en::LogLevel level{};
    if (!en::LogLevel_Parse(arguments.level, &level)) {
      return Result<dc::LogEntryQuery>::Failure(
          "--level \"" + arguments.level + "\" is no log level; the levels are " + LevelNames());
    }
    query.set_level(level);
  }
  const auto window = ReadTimeWindow(selection, zone, std::chrono::system_clock::now());
  if (!window.Ok()) {
    return Result<dc::LogEntryQuery>::Failure(window.GetStatus().Message());
  }
  if (window.Value().from) *query.mutable_fromtime() = data::FromSystemTime(*window.Value().from);
  if (window.Value().until) {
    *query.mutable_untiltime() = data::FromSystemTime(*window.Value().until);
  }
  return Result<dc::LogEntryQuery>::Success(std::move(query));
}

ExitCode Run(const LogArguments& arguments, Console& console) {
  const SharedDeadline deadline(arguments.server, console);
  const Client& client = deadline.First();
  const SelectionArguments& selection = arguments.selection;
  const bool namesLine = !selection.factory.empty() && !selection.line.empty();
  const data::LineTimeZone zone = namesLine ? LineZoneLookUp(client, selection.factory, selection.line,
                                                       arguments.server.verbose)
                                            .Get(console)
                                      : data::LineTimeZone::Utc();
  const auto query = BuildLogQuery(arguments, zone);
  if (!query.Ok()) {
    console.err << "vrex: " << query.GetStatus().Message() << '\n';
    return ExitCode::Usage;
  }
  const auto rest = deadline.ForTheRest("LogEntryQuery", LineZoneLookUp::kWaitedFor);
  if (!rest) return ExitCode::TimedOut;
  return SendAndPrint(*rest, query.Value(), arguments.server, arguments.json, console,
                      [&zone, csv = arguments.csv](const dc::LogEntryContainer& log) {
                        return csv ? LogCsv(log, zone) : RenderLog(log, zone);
                      });
}

}  // namespace

void AddLogCommand(const CommandSetup& setup) {
  auto arguments = std::make_shared<LogArguments>();
  CLI::App& command = AddCommand(
      setup,
      {"log", "Show the server's log entries",
       "Shows the server's log entries of a context (factory, line, bench), optionally of one "
       "source, level and time window. Times are shown in the line's time zone when the "
       "topology states it, else in UTC (in ISO 8601 with the offset, also with --csv).",
       "  vrex log http://results:8080 --factory Plant-North --line Line-A --since 2h\n"
       "  vrex log http://results:8080 --level Error --since 1d\n"
       "  vrex log http://results:8080 --factory Plant-North --line Line-A --bench Bench-3 "
       "--json\n"},
      arguments, &Run);
  AddServerArguments(command, arguments->server);
  AddLineArguments(command, arguments->selection, false);
  command.add_option("--bench", arguments->bench, "Test bench of the line");
  command.add_option("--source", arguments->source, "Only entries of this source context");
  command.add_option("--level", arguments->level,
                     "Only entries of this level (" + LevelNames() + ")");
  CLI::Option* json =
      command.add_flag("--json", arguments->json, "Machine-readable output: the answer as JSON");
  command.add_flag("--csv", arguments->csv, "The answer as CSV (RFC 4180) for spreadsheets")
      ->excludes(json);
}

}  // namespace vrex::cli
