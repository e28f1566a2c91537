#include <memory>
#include <variant>

#include "AnswerChecks.h"
#include "AnswerCsv.h"
#include "AnswerTables.h"
#include "Commands.h"
#include "GeneralInformationByIdQuery.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "MeasurementRequest.h"
#include "SharedDeadline.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;

struct TestArguments {
  ServerArguments server;
  SelectionArguments selection;
  std::vector<int> ids;
  std::vector<std::string> claves;
  bool json = false;
  bool csv = false;
};

ExitCode RunTests(const TestArguments& arguments, Console& console) {
  const SharedDeadline deadline(arguments.server, console);
  const Client& client = deadline.First();
  LineZoneLookUp zone(client, arguments.selection.factory, arguments.selection.line,
                      arguments.server.verbose);
  const auto render = [&zone, &console,
                       csv = arguments.csv](const dc::GeneralInformationContainer& tests) {
    return csv ? TestsCsv(tests, zone.Get(console)) : RenderTestTable(tests, zone.Get(console));
  };
  if (!arguments.ids.empty()) {
    const auto query =
        MakeByIdQuery<dc::GeneralInformationByIdQuery>(arguments.selection, arguments.ids);
    return SendAndPrint(client, query, arguments.server, arguments.json, console, render,
                        NoterOfContradictions(query, zone, console));
  }
  const auto filters = BuildSelectionFilters(arguments.selection, zone.Get(console),
                                             std::chrono::system_clock::now());
  if (!filters.Ok()) {
    return UsageError(filters.GetStatus().Message(), console);
  }
  dc::GeneralInformationQuery query;
  ApplySelection(arguments.selection, filters.Value(), query);
  const auto rest = deadline.ForTheRest("GeneralInformationQuery", LineZoneLookUp::kWaitedFor);
  if (!rest) return ExitCode::TimedOut;
  return SendAndPrint(*rest, query, arguments.server, arguments.json, console, render,
                      NoterOfContradictions(query, zone, console));
}

ExitCode RunMeasurements(const TestArguments& arguments, Console& console) {
  const SharedDeadline deadline(arguments.server, console);
  const auto prepared =
      PrepareMeasurementRequest(arguments.selection, arguments.ids, arguments.claves,
                                deadline.First(), console, arguments.server.verbose);
  if (!prepared.Ok()) {
    return UsageError(prepared.GetStatus().Message(), console);
  }
  const auto client =
      deadline.ForTheRest(RequestName(prepared.Value().request), LineZoneLookUp::kWaitedFor);
  if (!client) return ExitCode::TimedOut;
  LineZoneLookUp& zone = *prepared.Value().zone;
  const auto render = [&zone, &console,
                       csv = arguments.csv](const dc::MeasurementContainer& measurements) {
    return csv ? MeasurementsCsv(measurements)
               : RenderMeasurements(measurements, zone.Get(console));
  };
  return std::visit(
      [&](const auto& query) {
        return SendAndPrint(*client, query, arguments.server, arguments.json, console, render,
                            NoterOfContradictions(query, zone, console));
      },
      prepared.Value().request);
}

CLI::App& AddTestCommand(const CommandSetup& setup, const CommandText& text,
                         std::shared_ptr<TestArguments> arguments,
                         ExitCode (*run)(const TestArguments&, Console&)) {
  CLI::App& command = AddCommand(setup, text, arguments, run);
  AddServerArguments(command, arguments->server);
  AddTestChoiceArguments(command, arguments->selection, arguments->ids);
  CLI::Option* json =
      command.add_flag("--json", arguments->json, "Machine-readable output: the answer as JSON");
  command.add_flag("--csv", arguments->csv, "The answer as CSV (RFC 4180) for spreadsheets")
      ->excludes(json);
  return command;
}

const char* const kSelectionHelp =
    " Times are shown in the line's time zone when the topology states it, else in UTC; "
    "--since, --from and --until take ISO 8601 (read in that zone unless it carries an "
    "offset) or a span back from now (30m, 2h, 1d). Without a time window or --last, the "
    "last 20 tests are shown.";

}  // namespace

void AddTestCommands(const CommandSetup& setup) {
  AddTestCommand(
      setup,
      {"tests", "List the test results of a line",
       std::string("Lists the test results (headers) of a line as a table, or with --csv as "
                   "CSV with one header row.") +
           kSelectionHelp,
       "  vrex tests http://results:8080 --factory Plant-North --line Line-A --since "
       "1h --bench Bench-3\n"
       "  vrex tests http://results:8080 --factory Plant-North --line Line-A --from "
       "2024-03-12T08:00 --until 2024-03-12T12:00\n"
       "  vrex tests http://results:8080 --factory Plant-North --line Line-A --serial "
       "SN-24-0003142 --json\n"},
      std::make_shared<TestArguments>(), &RunTests);
  auto arguments = std::make_shared<TestArguments>();
  AddTestCommand(
      setup,
      {"measurements", "Show the measured values of tests",
       std::string("Shows the measured values of tests with their units, one table per test; "
                   "vectors, tracks and matrices are summarised by size and ranges, defects "
                   "follow. With --csv every point of every value is one row (test id, "
                   "quantity, x, z, y and their units), ready for a spreadsheet or a notebook.") +
           kSelectionHelp,
       "  vrex measurements http://results:8080 --factory Plant-North --line Line-A --last 1\n"
       "  vrex measurements http://results:8080 --factory Plant-North --line Line-A --id 1002 "
       "\\\n"
       "      --clavis 'Run-Up/Level/Mic-1/Gearbox/RMS/MIC-4189-A'\n"},
      arguments, &RunMeasurements)
      .add_option("--clavis", arguments->claves,
                  "Only this quantity, its six parts (Mode, Instrument, Channel, Location, "
                  "InstrumentParameter, Sensor) joined by / (repeatable)");
}

}  // namespace vrex::cli
