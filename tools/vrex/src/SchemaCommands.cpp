#include "SchemaCommands.h"

#include <memory>

#include "RequestListing.h"
#include "RequestTemplate.h"
#include "SchemaDescription.h"

namespace vrex::cli {

namespace {

// Prints a text result, or its error as a usage error.
ExitCode Print(const Result<std::string>& text, Console& console) {
  if (!text.Ok()) {
    console.err << "vrex: " << text.GetStatus().Message() << '\n';
    return ExitCode::Usage;
  }
  console.out << text.Value();
  if (!text.Value().empty() && text.Value().back() != '\n') {
    console.out << '\n';
  }
  return ExitCode::Ok;
}

void AddList(const CommandSetup& setup) {
  struct Arguments {
    std::string family;
    bool json = false;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App& command = AddCommand(
      setup.app, "list",
      "Lists every request the server accepts, grouped by area, with its kind (query: answered "
      "by a message; command: answered by its outcome; file: answered by a file) and its answer.",
      "  vrex list\n  vrex list --family Measurements\n  vrex list --json\n");
  command.add_option("--family,--area", arguments->family, "Only the requests of this area");
  command.add_flag("--json", arguments->json, "Machine-readable output");
  command.callback([arguments, &console = setup.console, &action = setup.action] {
    action = [arguments, &console] {
      return Print(ListRequests(arguments->family, arguments->json), console);
    };
  });
}

void AddDescribe(const CommandSetup& setup) {
  auto typeName = std::make_shared<std::string>();
  CLI::App& command = AddCommand(
      setup.app, "describe",
      "Shows the fields of a contract message (number, name, type, presence) or the values of "
      "an enumeration, from the schema built into vrex.",
      "  vrex describe MeasurementQuery\n  vrex describe TimeFilter\n"
      "  vrex describe bcl.DateTime\n  vrex describe LogLevel\n");
  command.add_option("TYPE", *typeName, "Message or enumeration, e.g. MeasurementQuery")
      ->required();
  command.callback([typeName, &console = setup.console, &action = setup.action] {
    action = [typeName, &console] { return Print(DescribeSchemaType(*typeName), console); };
  });
}

void AddTemplate(const CommandSetup& setup) {
  auto typeName = std::make_shared<std::string>();
  CLI::App& command = AddCommand(
      setup.app, "template",
      "Prints a JSON skeleton of a request (or any contract message) with every field, to edit "
      "and pass to `vrex call -d @file`. Remove what you do not need: an absent filter does "
      "not restrict.",
      "  vrex template GeneralInformationQuery > query.json\n"
      "  vrex call http://results:8080 GeneralInformationQuery -d @query.json\n");
  command.add_option("TYPE", *typeName, "Request type, e.g. GeneralInformationQuery")->required();
  command.callback([typeName, &console = setup.console, &action = setup.action] {
    action = [typeName, &console] { return Print(BuildJsonTemplate(*typeName), console); };
  });
}

}  // namespace

void AddSchemaCommands(const CommandSetup& setup) {
  AddList(setup);
  AddDescribe(setup);
  AddTemplate(setup);
}

}  // namespace vrex::cli
