#include <memory>

#include "ApiVersionQuery.pb.h"
#include "Commands.h"
#include "SimpleTopologyQuery.pb.h"
#include "TerminalText.h"
#include "TopologyTree.h"
#include "VrexClient.h"
#include "vrex/MessageJson.h"
#include "vrex/ServerVersion.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;

struct ReadArguments {
  ServerArguments server;
  bool json = false;
};

std::string VersionText(const dc::VersionDTO& version) {
  std::string text = std::to_string(version.major()) + "." + std::to_string(version.minor()) + "." +
                     std::to_string(version.patch());
  if (!version.developmentname().empty() || version.developmentversion() != 0) {
    text +=
        " (" + Printable(version.developmentname()) + " " + std::to_string(version.developmentversion()) + ")";
  }
  return text;
}

ExitCode PrintJson(const google::protobuf::Message& message, Console& console) {
  JsonLayout layout;
  layout.withDefaults = true;
  const auto json = MessageToJson(message, layout);
  console.out << (json.Ok() ? json.Value() : "{}\n");
  return ExitCode::Ok;
}

ExitCode RunVersion(const ReadArguments& arguments, Console& console) {
  const Client client(MakeClientOptions(arguments.server, console));
  const auto version = client.Send(dc::ApiVersionQuery());
  const ExitCode code = ReportOutcome(version.GetStatus(), arguments.server, console);
  if (code != ExitCode::Ok) {
    return code;
  }
  const bool accepted = vrex::IsAcceptedVersion(version.Value());
  if (arguments.json) {
    PrintJson(version.Value(), console);
  } else if (accepted) {
    console.out << "server interface " << VersionText(version.Value())
                << ": accepted (this vrex speaks interface " << VrexClient::requiredApiMajorVersion
                << ".x)\n";
  } else {
    console.out << "server interface " << VersionText(version.Value())
                << ": NOT accepted \u2014 this vrex speaks interface "
                << VrexClient::requiredApiMajorVersion
                << ".x; use a vrex built for the server's interface, or check the URL\n";
  }
  return accepted ? ExitCode::Ok : ExitCode::VersionNotAccepted;
}

ExitCode RunTopology(const ReadArguments& arguments, Console& console) {
  const Client client(MakeClientOptions(arguments.server, console));
  const auto topology = client.Send(dc::SimpleTopologyQuery());
  const ExitCode code = ReportOutcome(topology.GetStatus(), arguments.server, console);
  if (code != ExitCode::Ok) {
    return code;
  }
  if (arguments.json) {
    return PrintJson(topology.Value(), console);
  }
  console.out << RenderTopologyTree(topology.Value());
  return ExitCode::Ok;
}

void AddReadCommand(const CommandSetup& setup, const CommandText& text,
                    ExitCode (*run)(const ReadArguments&, Console&)) {
  auto arguments = std::make_shared<ReadArguments>();
  CLI::App& command = AddCommand(setup, text, arguments, run);
  AddServerArguments(command, arguments->server);
  command.add_flag("--json", arguments->json, "Machine-readable output: the answer as JSON");
}

}  // namespace

void AddTopologyCommands(const CommandSetup& setup) {
  AddReadCommand(setup,
                 {"version", "Check the server's interface version",
                  "Asks the server for its interface version and tells whether this vrex "
                  "accepts it. The exit status is 0 when it is accepted and 7 when not.",
                  "  vrex version http://results:8080\n"
                  "  vrex version http://results:8080 --json\n"
                  "  vrex version http://results:8080 && echo ready\n"},
                 &RunVersion);
  AddReadCommand(setup,
                 {"topology", "Show the factories, lines and benches",
                  "Shows the plant as the server knows it: factories, lines with their time "
                  "zones, and test benches. These names go into --factory, --line and --bench.",
                  "  vrex topology http://results:8080\n"
                  "  vrex topology http://results:8080 --json\n"},
                 &RunTopology);
}

}  // namespace vrex::cli
