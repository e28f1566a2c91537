// `vrex call` and `vrex download`: any request of the contract, written as
// proto3 JSON; the answer printed as JSON, or the file saved.
#include <google/protobuf/text_format.h>

#include <memory>

#include "BoundedInput.h"
#include "Commands.h"
#include "DisabledMembers.h"
#include "PendingFile.h"
#include "ProgressBar.h"
#include "vrex/MessageJson.h"
#include "vrex/RequestCatalog.h"
#include "vrex/data/Text.h"

namespace vrex::cli {

namespace {

using google::protobuf::Message;

Result<std::string> ReadRequestText(std::string_view argument, std::istream& standardInput) {
  using TextResult = Result<std::string>;
  if (argument.empty()) {
    return TextResult::Success("{}");
  }
  if (argument.front() != '@') {
    return TextResult::Success(std::string(argument));
  }
  const std::string path(argument.substr(1));
  return path == "-" ? ReadStream(standardInput, kMaxRequestBytes, "the request on stdin")
                     : ReadRegularFile(path, kMaxRequestBytes, "the request file");
}

Result<std::unique_ptr<google::protobuf::Message>> ReadRequest(std::string_view requestType,
                                                               std::string_view argument,
                                                               std::istream& standardInput) {
  using RequestResult = Result<std::unique_ptr<google::protobuf::Message>>;
  const std::string type(requestType);
  if (FindRequest(requestType) == nullptr) {
    return RequestResult::Failure("the server knows no request \"" + type +
                                  "\"; `vrex list` shows the requests");
  }
  const auto text = ReadRequestText(argument, standardInput);
  if (!text.Ok()) {
    return RequestResult::Failure(text.GetStatus().Message());
  }
  auto request = MessageFromJson(requestType, WithoutDisabledMembers(text.Value()));
  if (!request.Ok()) {
    return RequestResult::Failure(request.GetStatus().Message() + " \u2014 `vrex template " + type +
                                  "` shows the fields, `vrex describe " + type + "` their types");
  }
  return request;
}

using google::protobuf::Message;

enum class OutputFormat { Json, Binary, Text };

struct CallArguments {
  ServerArguments server;
  std::string requestType;
  std::string data;
  OutputFormat format = OutputFormat::Json;
  std::string answerType;
};

ExitCode PrintAnswer(const Message& answer, OutputFormat format, Console& console) {
  switch (format) {
    case OutputFormat::Binary:
      console.out << answer.SerializeAsString();
      return ExitCode::Ok;
    case OutputFormat::Text: {
      std::string text;
      google::protobuf::TextFormat::PrintToString(answer, &text);
      console.out << text;
      return ExitCode::Ok;
    }
    case OutputFormat::Json:
      break;
  }
  const auto json = MessageToJson(answer);
  if (!json.Ok()) {
    console.err << "vrex: " << json.GetStatus().Message() << '\n';
    return ExitCode::BadAnswer;
  }
  console.out << json.Value();
  return ExitCode::Ok;
}

// A file answer goes to standard output as it arrives, but never onto a terminal.
ExitCode StreamFile(const Client& client, const CallArguments& arguments, const Message& request,
                    Console& console) {
  if (console.outIsTerminal) {
    return UsageError(arguments.requestType +
                          " is answered by a file; save it with `vrex download URL " +
                          arguments.requestType + " -d ... -o FILE` or redirect the output",
                      console);
  }
  const Outcome outcome =
      client.Download(arguments.requestType, request, [&](std::string_view chunk) {
        console.out.write(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        return static_cast<bool>(console.out);
      });
  console.out.flush();
  return ReportOutcome(outcome, arguments.server, console);
}

ExitCode RunCall(const CallArguments& arguments, Console& console) {
  const RequestInfo* info = FindRequest(arguments.requestType);
  auto request = ReadRequest(arguments.requestType, arguments.data, console.in);
  if (!request.Ok()) {
    return UsageError(request.GetStatus().Message(), console);
  }
  if (arguments.format == OutputFormat::Binary && console.outIsTerminal) {
    return UsageError("--output binary writes bytes; redirect it to a file", console);
  }
  const Client client(MakeClientOptions(arguments.server, console));
  if (info->kind == RequestKind::File && arguments.answerType.empty()) {
    return StreamFile(client, arguments, *request.Value(), console);
  }
  const google::protobuf::Descriptor* answerType = AnswerDescriptor(*info, arguments.answerType);
  if (answerType == nullptr && !arguments.answerType.empty()) {
    return UsageError("no contract message is named \"" + arguments.answerType +
                          "\"; `vrex describe TYPE` shows a message",
                      console);
  }
  // A command without --answer-type: the outcome is all there is to show.
  std::unique_ptr<Message> answer(
      answerType != nullptr
          ? google::protobuf::MessageFactory::generated_factory()->GetPrototype(answerType)->New()
          : nullptr);
  ::Korvan::KQ::DataContracts::MessageContainer ignoredBody;
  const Outcome outcome = client.Send(arguments.requestType, *request.Value(),
                                      answer ? *answer : static_cast<Message&>(ignoredBody));
  const ExitCode code = ReportOutcome(outcome, arguments.server, console);
  if (code != ExitCode::Ok) {
    return code;
  }
  if (!answer) {
    console.out << outcome.Message() << '\n';
    return ExitCode::Ok;
  }
  return PrintAnswer(*answer, arguments.format, console);
}

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

ExitCode RunDownload(const DownloadArguments& arguments, Console& console) {
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
  // vrex's own pending file rather than DownloadToFile's: a signal can remove it.
  PendingFile file(arguments.target);
  Error written = file.Status();
  Outcome outcome = written.Ok() ? client.Download(
                                       arguments.requestType, *request.Value(),
                                       [&](std::string_view chunk) {
                                         written = file.Write(chunk);
                                         return written.Ok();
                                       },
                                       options)
                                 : Outcome(arguments.requestType, Outcome::Event::FileFailed, 0,
                                           written.Message(), {}, 0);
  if (outcome.Ok()) written = file.Commit();
  if (!written.Ok()) {
    outcome = Outcome(arguments.requestType, Outcome::Event::FileFailed, outcome.HttpStatus(),
                      written.Message(), outcome.Elapsed(), outcome.Attempts());
  }
  bar.Finish();
  const ExitCode code = ReportOutcome(outcome, arguments.server, console);
  if (code == ExitCode::Ok && received == 0) {
    // A file answer without a byte is almost always a wrong identifier.
    console.err << "vrex: warning: the server answered with no bytes; " << arguments.target
                << " is empty\n";
  } else if (code == ExitCode::Ok && console.errIsTerminal) {
    console.err << "saved " << data::FormatBytes(received) << " to " << arguments.target << '\n';
  }
  return code;
}

// What call and download take: the server, the request type and its JSON.
void AddRequestArguments(CLI::App& command, ServerArguments& server, std::string& requestType,
                         std::string& data, const std::string& typeHelp) {
  AddServerArguments(command, server);
  command.add_option("TYPE", requestType, typeHelp)->required();
  command.add_option("-d,--data", data,
                     "The request as JSON, @FILE to read it from a file, @- from stdin "
                     "(default: {})");
}

void AddCall(const CommandSetup& setup) {
  auto arguments = std::make_shared<CallArguments>();
  CLI::App& command = AddCommand(
      setup,
      {"call", "Send any request as JSON and print the answer",
       "Sends any request of the contract, written as proto3 JSON with the contract's field "
       "names, and prints the answer as JSON. A command prints its outcome; a file request "
       "writes the file to standard output (or use `vrex download`). Unknown fields are errors.",
       "  vrex call http://results:8080 ApiVersionQuery\n"
       "  vrex call http://results:8080 GeneralInformationQuery \\\n"
       "      -d '{\"Factory\": \"Plant-North\", \"Line\": \"Line-A\", \"LastN\": {\"TopN\": 5}}'\n"
       "  vrex template MeasurementQuery > q.json && vrex call http://results:8080 "
       "MeasurementQuery -d @q.json\n"
       "  echo '{\"Names\": [\"Early\"]}' | vrex call http://results:8080 GetShiftQuery -d @-\n"
       "  vrex call http://results:8080 SimpleTopologyQuery --output text\n"},
      arguments, &RunCall);
  AddRequestArguments(command, arguments->server, arguments->requestType, arguments->data,
                      "Request type (see `vrex list`)");
  command.add_option("--output", arguments->format, "Answer as json, binary (protobuf) or text")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, OutputFormat>{{"json", OutputFormat::Json},
                                              {"binary", OutputFormat::Binary},
                                              {"text", OutputFormat::Text}}));
  command.add_option("--answer-type", arguments->answerType,
                     "Read the answer as this message instead of the catalog's");
}

void AddDownload(const CommandSetup& setup) {
  auto arguments = std::make_shared<DownloadArguments>();
  CLI::App& command = AddCommand(
      setup,
      {"download", "Save the file that a file request is answered with",
       "Saves the file a file request is answered with (archive data, WAV recording, CSV "
       "export). The file is written under a temporary name and renamed when complete, so FILE "
       "is never left half written. Shows a progress bar when stderr is a terminal.",
       "  vrex download http://results:8080 WavFileQuery \\\n"
       "      -d '{\"Factory\": \"Plant-North\", \"Line\": \"Line-A\", \"Identifier\": 1002}' "
       "-o 1002.wav\n"
       "  vrex download http://results:8080 CsvExportFileQuery -d @export.json -o tests.csv\n"},
      arguments, &RunDownload);
  AddRequestArguments(command, arguments->server, arguments->requestType, arguments->data,
                      "File request type (see `vrex list`)");
  command.add_option("-o,--output", arguments->target, "File to write")->required();
}

}  // namespace

void AddRequestCommands(const CommandSetup& setup) {
  AddCall(setup);
  AddDownload(setup);
}

}  // namespace vrex::cli
