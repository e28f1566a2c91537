#include "CallCommand.h"

#include <google/protobuf/text_format.h>

#include <memory>

#include "ConnectionOptions.h"
#include "RequestBody.h"
#include "vrex/MessageJson.h"
#include "vrex/RequestCatalog.h"

namespace vrex::cli {

namespace {

using google::protobuf::Message;

enum class OutputFormat { Json, Binary, Text };

struct CallArguments {
  ServerArguments server;
  std::string requestType;
  std::string data;
  OutputFormat format = OutputFormat::Json;
  std::string answerType;
};

ExitCode UsageError(const std::string& text, Console& console) {
  console.err << "vrex: " << text << '\n';
  return ExitCode::Usage;
}

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
  const Outcome outcome = client.Download(arguments.requestType, request, [&](std::string_view chunk) {
    console.out.write(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    return static_cast<bool>(console.out);
  });
  console.out.flush();
  return ReportOutcome(outcome, arguments.server, console);
}

ExitCode Run(const CallArguments& arguments, Console& console) {
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

}  // namespace

void AddCallCommand(const CommandSetup& setup) {
  auto arguments = std::make_shared<CallArguments>();
  CLI::App& command = AddCommand(
      setup.app, "call",
      "Sends any request of the contract, written as proto3 JSON with the contract's field "
      "names, and prints the answer as JSON. A command prints its outcome; a file request "
      "writes the file to standard output (or use `vrex download`). Unknown fields are errors.",
      "  vrex call http://results:8080 ApiVersionQuery\n"
      "  vrex call http://results:8080 GeneralInformationQuery \\\n"
      "      -d '{\"Factory\": \"Plant-North\", \"Line\": \"Line-A\", \"LastN\": {\"TopN\": 5}}'\n"
      "  vrex template MeasurementQuery > q.json && vrex call http://results:8080 "
      "MeasurementQuery -d @q.json\n"
      "  echo '{\"Names\": [\"Early\"]}' | vrex call http://results:8080 GetShiftQuery -d @-\n"
      "  vrex call http://results:8080 SimpleTopologyQuery --output text\n");
  AddServerArguments(command, arguments->server);
  command.add_option("TYPE", arguments->requestType, "Request type (see `vrex list`)")
      ->required();
  command.add_option("-d,--data", arguments->data,
                     "The request as JSON, @FILE to read it from a file, @- from stdin "
                     "(default: {})");
  command
      .add_option("--output", arguments->format, "Answer as json, binary (protobuf) or text")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, OutputFormat>{{"json", OutputFormat::Json},
                                              {"binary", OutputFormat::Binary},
                                              {"text", OutputFormat::Text}}));
  command.add_option("--answer-type", arguments->answerType,
                     "Read the answer as this message instead of the catalog's");
  command.callback([arguments, &console = setup.console, &action = setup.action] {
    action = [arguments, &console] { return Run(*arguments, console); };
  });
}

}  // namespace vrex::cli
