// `vrex plot`: measured curves, tracks and maps drawn by gnuplot into a PNG
// or SVG for a defect report, or the gnuplot script alone.
#include <memory>
#include <variant>

#include "AnswerChecks.h"
#include "Commands.h"
#include "Gnuplot.h"
#include "MeasurementRequest.h"
#include "PendingFile.h"
#include "PlotScript.h"
#include "SharedDeadline.h"
#include "vrex/data/Text.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;

struct PlotArguments {
  ServerArguments server;
  SelectionArguments selection;
  std::vector<int> ids;
  std::vector<std::string> claves;
  std::string output;
  bool waterfall = false;
  bool scriptOnly = false;
  std::string gnuplot = "gnuplot";
};

// Extensions in any case: out.PNG is a PNG.
bool EndsWith(const std::string& text, const std::string& ending) {
  return text.size() >= ending.size() &&
         data::EqualsIgnoringCase(std::string_view(text).substr(text.size() - ending.size()),
                                  ending);
}

// The script of --script-only: the picture's name with ".gp" for its extension.
std::string ScriptPath(const std::string& picture) {
  return picture.substr(0, picture.size() - 4) + ".gp";
}

Result<dc::MeasurementContainer, Outcome> Fetch(const Client& client,
                                                const MeasurementRequest& request) {
  return std::visit(
      [&client](const auto& query) -> Result<dc::MeasurementContainer, Outcome> {
        return client.Send(query);
      },
      request);
}

ExitCode Fail(ExitCode code, const Error& error, Console& console) {
  console.err << "vrex: " << error.Message() << '\n';
  return code;
}

// The picture, or with --script-only the script, whole or not at all.
ExitCode Write(const PlotArguments& arguments, const PlotScript& script, const std::string& gnuplot,
               Console& console) {
  const std::string target = arguments.scriptOnly ? ScriptPath(arguments.output) : arguments.output;
  PendingFile file(target);
  if (!file.Status().Ok()) {
    return Fail(ExitCode::FileFailed, file.Status(), console);
  }
  if (arguments.scriptOnly) {
    if (const Error written = file.Write(script.Text()); !written.Ok()) {
      return Fail(ExitCode::FileFailed, written, console);
    }
  } else if (const Error drawn = RunGnuplot(gnuplot, script.Text(), file.Path());
             !drawn.Ok()) {
    return Fail(ExitCode::Failure, drawn, console);
  }
  if (const Error committed = file.Commit(); !committed.Ok()) {
    return Fail(ExitCode::FileFailed, committed, console);
  }
  if (arguments.scriptOnly) {
    console.err << "vrex: wrote " << target << "; `gnuplot " << target << "` draws "
                << arguments.output << '\n';
  }
  return ExitCode::Ok;
}

ExitCode Run(const PlotArguments& arguments, Console& console) {
  PlotOptions options;
  options.output = arguments.output;
  options.waterfall = arguments.waterfall;
  if (EndsWith(arguments.output, ".svg")) {
    options.format = PlotFormat::Svg;
  } else if (!EndsWith(arguments.output, ".png")) {
    return UsageError("-o " + arguments.output + ": the picture is a .png or an .svg file",
                      console);
  }
  const std::string gnuplot = arguments.scriptOnly ? "" : FindProgram(arguments.gnuplot);
  if (!arguments.scriptOnly && gnuplot.empty()) {
    return Fail(ExitCode::Failure, Error(WhyNotRunnable(arguments.gnuplot)), console);
  }
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
  const auto answer = Fetch(*client, prepared.Value().request);
  if (const ExitCode code = ReportOutcome(answer.GetStatus(), arguments.server, console);
      code != ExitCode::Ok) {
    return code;
  }
  std::visit(
      [&](const auto& query) {
        NoterOfContradictions(query, *prepared.Value().zone, console)(answer.Value());
      },
      prepared.Value().request);
  options.line = arguments.selection.factory + " / " + arguments.selection.line;
  options.zone = prepared.Value().zone->Get(console);
  const dc::ClavisFilter& quantities = prepared.Value().quantities;
  const auto script = BuildPlotScript(
      answer.Value(), {quantities.items().begin(), quantities.items().end()}, options);
  if (!script.Ok()) {
    console.err << "vrex: " << script.GetStatus().Message() << '\n';
    return ExitCode::Failure;
  }
  for (const std::string& note : script.Value().notes) {
    console.err << "vrex: note: " << note << '\n';
  }
  return Write(arguments, script.Value(), gnuplot, console);
}

}  // namespace

void AddPlotCommand(const CommandSetup& setup) {
  auto arguments = std::make_shared<PlotArguments>();
  CLI::App& command = AddCommand(
      setup,
      {"plot", "Draw measured curves, tracks and maps into a PNG or SVG",
       "Draws what the server measured, with gnuplot, into a picture for a defect report. Per "
       "quantity (--clavis): vectors (spectra) and scalar tracks of all tests overlaid as "
       "curves, so that a failed unit can be compared with a good one, with the limits the "
       "answer carries dashed; scalars as one point per test; the vector track of each test as "
       "curves coloured by their z (or, with --waterfall, in 3D); the matrix of each test as a "
       "heat map (order map, Campbell diagram) with the cells above an upper limit circled. "
       "Axes are named and in the units the answer gives; the legend names test, serial and "
       "result. Without gnuplot, --script-only writes FILE.gp, a gnuplot script that carries "
       "its data.",
       "  vrex plot http://results:8080 --factory Plant-North --line Line-A --id 1001 --id 1002 "
       "--clavis 'Idle/FFT/Mic-1/Gearbox/Spectrum/MIC-4189-A' -o spectrum.png\n"
       "  vrex plot http://results:8080 --factory Plant-North --line Line-A --last 1 --clavis "
       "'Run-Up/Campbell/Mic-1/Gearbox/Order map/MIC-4189-A' -o campbell.svg\n"
       "  vrex plot http://results:8080 --factory Plant-North --line Line-A --id 1002 --clavis "
       "'Run-Up/FFT/Acc-1/Housing/Spectrum over speed/ACC-356A' --waterfall --script-only -o "
       "runup.png\n"},
      arguments, &Run);
  AddServerArguments(command, arguments->server);
  AddTestChoiceArguments(command, arguments->selection, arguments->ids);
  command
      .add_option("--clavis", arguments->claves,
                  "Quantity to draw, its six parts (Mode to Sensor) joined by / as `vrex "
                  "measurements` shows them (repeatable: one panel each)")
      ->required();
  command.add_option("-o,--output", arguments->output, "Picture to write: FILE.png or FILE.svg")
      ->required();
  command.add_flag("--waterfall", arguments->waterfall,
                   "Vector tracks as a 3D waterfall instead of overlaid curves");
  command.add_flag("--script-only", arguments->scriptOnly,
                   "Write the gnuplot script (FILE.gp, with its data) instead of the picture");
  command.add_option("--gnuplot", arguments->gnuplot, "The gnuplot program to run")
      ->capture_default_str();
}

}  // namespace vrex::cli
