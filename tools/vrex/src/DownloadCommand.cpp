#include "DownloadCommand.h"

#include <memory>

#include "ConnectionOptions.h"
#include "ProgressBar.h"
#include "RequestBody.h"
#include "vrex/RequestCatalog.h"

namespace vrex::cli {

namespace {

struct DownloadArguments {
  ServerArguments server;
  std::string requestType;
  std::string data;
  std::string target;
};

std::string FileRequestNames() {
  std::string names;
  for (const RequestInfo& request : Requests()) {
    if (request.kind == RequestKind::File) {
      names += (names.empty() ? "" : ", ") + std::string(request.name);
    }
  }
  return names;
}

ExitCode Run(const DownloadArguments& arguments, Console& console) {
  const RequestInfo* info = FindRequest(arguments.requestType);
  if (info != nullptr && info->kind != RequestKind::File) {
    console.err << "vrex: " << arguments.requestType
                << " is not answered by a file; use `vrex call` for it. File requests: "
                << FileRequestNames() << '\n';
    return ExitCode::Usage;
  }
  auto request = ReadRequest(arguments.requestType, arguments.data, console.in);
  if (!request.Ok()) {
    console.err << "vrex: " << request.GetStatus().Message() << '\n';
    return ExitCode::Usage;
  }
  const Client client(MakeClientOptions(arguments.server, console));
  // The bar is for people watching; scripts and logs get no carriage returns.
  ProgressBar bar(console.err);
  std::uint64_t received = 0;
  DownloadOptions options;
  options.onProgress = [&](const TransferProgress& progress) {
    received = progress.received;
    if (console.errIsTerminal) {
      bar.Update(progress.received, progress.expected);
    }
    return true;
  };
  const Outcome outcome =
      client.DownloadToFile(arguments.requestType, *request.Value(), arguments.target, options);
  bar.Finish();
  const ExitCode code = ReportOutcome(outcome, arguments.server, console);
  if (code == ExitCode::Ok && console.errIsTerminal) {
    console.err << "saved " << FormatBytes(received) << " to " << arguments.target << '\n';
  }
  return code;
}

}  // namespace

void AddDownloadCommand(const CommandSetup& setup) {
  auto arguments = std::make_shared<DownloadArguments>();
  CLI::App& command = AddCommand(
      setup.app, "download",
      "Saves the file a file request is answered with (archive data, WAV recording, CSV "
      "export). The file is written under a temporary name and renamed when complete, so FILE "
      "is never left half written. Shows a progress bar when stderr is a terminal.",
      "  vrex download http://results:8080 WavFileQuery \\\n"
      "      -d '{\"Factory\": \"Plant-North\", \"Line\": \"Line-A\", \"Identifier\": 1002}' "
      "-o 1002.wav\n"
      "  vrex download http://results:8080 CsvExportFileQuery -d @export.json -o tests.csv\n");
  AddServerArguments(command, arguments->server);
  command.add_option("TYPE", arguments->requestType, "File request type (see `vrex list`)")
      ->required();
  command.add_option("-d,--data", arguments->data,
                     "The request as JSON, @FILE or @- (default: {})");
  command.add_option("-o,--output", arguments->target, "File to write")->required();
  command.callback([arguments, &console = setup.console, &action = setup.action] {
    action = [arguments, &console] { return Run(*arguments, console); };
  });
}

}  // namespace vrex::cli
