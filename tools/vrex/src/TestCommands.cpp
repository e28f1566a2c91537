#include <memory>

#include "AnswerTables.h"
#include "Commands.h"
#include "GeneralInformationByIdQuery.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "MeasurementByIdQuery.pb.h"
#include "MeasurementQuery.pb.h"
#include "SelectionOptions.h"
#include "vrex/data/Clavis.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;

struct TestArguments {
  ServerArguments server;
  SelectionArguments selection;
  std::vector<int> ids;
  std::vector<std::string> claves;
  bool json = false;
};

template <class ByIdQuery>
ByIdQuery MakeByIdQuery(const TestArguments& arguments) {
  ByIdQuery query;
  query.set_factory(arguments.selection.factory);
  query.set_line(arguments.selection.line);
  for (const int id : arguments.ids) {
    query.add_identifier(id);
  }
  return query;
}

ExitCode RunTests(const TestArguments& arguments, Console& console) {
  const Client client(MakeClientOptions(arguments.server, console));
  const LineTimeZone zone =
      LookUpLineZone(client, arguments.selection.factory, arguments.selection.line, console);
  const auto render = [&zone](const dc::GeneralInformationContainer& tests) {
    return RenderTestTable(tests, zone);
  };
  if (!arguments.ids.empty()) {
    return SendAndPrint(client, MakeByIdQuery<dc::GeneralInformationByIdQuery>(arguments),
                        arguments.server, arguments.json, console, render);
  }
  const auto filters =
      BuildSelectionFilters(arguments.selection, zone, std::chrono::system_clock::now());
  if (!filters.Ok()) {
    return UsageError(filters.GetStatus().Message(), console);
  }
  dc::GeneralInformationQuery query;
  ApplySelection(arguments.selection, filters.Value(), query);
  return SendAndPrint(client, query, arguments.server, arguments.json, console, render);
}

Result<dc::ClavisFilter> BuildClavisFilter(const std::vector<std::string>& claves) {
  dc::ClavisFilter filter;
  for (const std::string& text : claves) {
    auto clavis = data::ParseClavis(text);
    if (!clavis.Ok()) {
      return Result<dc::ClavisFilter>::Failure("--clavis " + clavis.GetStatus().Message() +
                                               ", as `vrex measurements` shows them");
    }
    *filter.add_items() = std::move(clavis).Value();
  }
  return Result<dc::ClavisFilter>::Success(std::move(filter));
}

ExitCode RunMeasurements(const TestArguments& arguments, Console& console) {
  const auto clavisFilter = BuildClavisFilter(arguments.claves);
  if (!clavisFilter.Ok()) {
    return UsageError(clavisFilter.GetStatus().Message(), console);
  }
  const Client client(MakeClientOptions(arguments.server, console));
  const LineTimeZone zone =
      LookUpLineZone(client, arguments.selection.factory, arguments.selection.line, console);
  const auto render = [&zone](const dc::MeasurementContainer& measurements) {
    return RenderMeasurements(measurements, zone);
  };
  const bool restricted = !arguments.claves.empty();
  if (!arguments.ids.empty()) {
    auto query = MakeByIdQuery<dc::MeasurementByIdQuery>(arguments);
    if (restricted) *query.mutable_clavis() = clavisFilter.Value();
    return SendAndPrint(client, query, arguments.server, arguments.json, console, render);
  }
  const auto filters =
      BuildSelectionFilters(arguments.selection, zone, std::chrono::system_clock::now());
  if (!filters.Ok()) {
    return UsageError(filters.GetStatus().Message(), console);
  }
  dc::MeasurementQuery query;
  ApplySelection(arguments.selection, filters.Value(), query);
  if (restricted) *query.mutable_clavis() = clavisFilter.Value();
  return SendAndPrint(client, query, arguments.server, arguments.json, console, render);
}

CLI::App& AddTestCommand(const CommandSetup& setup, const CommandText& text,
                         std::shared_ptr<TestArguments> arguments,
                         ExitCode (*run)(const TestArguments&, Console&)) {
  CLI::App& command = AddCommand(setup, text, arguments, run);
  AddServerArguments(command, arguments->server);
  AddSelectionArguments(command, arguments->selection);
  command.add_option("--id", arguments->ids,
                     "Only the tests with these identifiers (repeatable; the filters are then "
                     "not used)");
  command.add_flag("--json", arguments->json, "Machine-readable output: the answer as JSON");
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
      {"tests",
       std::string("Lists the test results (headers) of a line as a table.") + kSelectionHelp,
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
      {"measurements",
       std::string("Shows the measured values of tests with their units, one table per test; "
                   "vectors, tracks and matrices are summarised by size and ranges, defects "
                   "follow.") +
           kSelectionHelp,
       "  vrex measurements http://results:8080 --factory Plant-North --line Line-A --last 1\n"
       "  vrex measurements http://results:8080 --factory Plant-North --line Line-A --id 1002 "
       "\\\n"
       "      --clavis 'Run-Up/Level/Mic-1/Gearbox/RMS/MIC-4189-A'\n"},
      arguments, &RunMeasurements)
      .add_option("--clavis", arguments->claves,
                  "Only this quantity, as Mode/Instrument/Channel/Location/"
                  "InstrumentParameter/Sensor (repeatable)");
}

}  // namespace vrex::cli
