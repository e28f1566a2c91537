// The offline commands: `vrex list`, `vrex describe` and `vrex template`
// read the catalog and the schema compiled into vrex, no server needed.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/reflection.h>
#include <google/protobuf/text_format.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "DisabledMembers.h"
#include "TextTable.h"
#include "bcl.pb.h"
#include "vrex/ContractTypes.h"
#include "vrex/MessageJson.h"
#include "vrex/RequestCatalog.h"
#include "vrex/data/Text.h"

namespace vrex::cli {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::EnumDescriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

// The catalog as a listing.

std::vector<std::string_view> Areas() {
  std::vector<std::string_view> areas;
  for (const RequestInfo& request : Requests()) {
    if (std::find(areas.begin(), areas.end(), request.area) == areas.end()) {
      areas.push_back(request.area);
    }
  }
  return areas;
}

std::string AnswerText(const RequestInfo& request) {
  switch (request.kind) {
    case RequestKind::Query:
      return std::string(request.answerType);
    case RequestKind::Command:
      return "(outcome)";
    case RequestKind::File:
      return "(file)";
  }
  return "";
}

std::string AsJson(const std::vector<const RequestInfo*>& requests) {
  // Every name is a plain identifier, so no escaping is needed.
  std::string json = "[\n";
  for (std::size_t i = 0; i < requests.size(); ++i) {
    const RequestInfo& request = *requests[i];
    json += "  {\"area\": \"" + std::string(request.area) + "\", \"request\": \"" +
            std::string(request.name) + "\", \"kind\": \"" + std::string(ToString(request.kind)) +
            "\", \"answer\": \"" + std::string(request.answerType) + "\"}" +
            (i + 1 < requests.size() ? ",\n" : "\n");
  }
  return json + "]\n";
}

std::string AsText(const std::vector<const RequestInfo*>& requests) {
  std::string text;
  std::string_view area;
  TextTable table({"  REQUEST", "KIND", "ANSWER"});
  const auto flush = [&] {
    if (!table.Empty()) {
      text += (text.empty() ? "" : "\n") + std::string(area) + "\n" + table.Render();
    }
    table = TextTable({"  REQUEST", "KIND", "ANSWER"});
  };
  for (const RequestInfo* request : requests) {
    if (request->area != area) {
      flush();
      area = request->area;
    }
    table.AddRow({"  " + std::string(request->name), std::string(ToString(request->kind)),
                  AnswerText(*request)});
  }
  flush();
  return text;
}

/// The requests of `area` (all areas when empty; case does not matter) as
/// text grouped under area headings, or as a JSON array of objects with
/// "area", "request", "kind" and "answer". Fails for an area the catalog
/// lacks, naming the areas it has.
Result<std::string> ListRequests(std::string_view area, bool asJson) {
  std::vector<const RequestInfo*> selected;
  for (const RequestInfo& request : Requests()) {
    if (area.empty() || data::EqualsIgnoringCase(request.area, area)) {
      selected.push_back(&request);
    }
  }
  if (selected.empty()) {
    std::string known;
    for (std::string_view name : Areas()) {
      known += (known.empty() ? "" : ", ") + std::string(name);
    }
    return Result<std::string>::Failure("no area is named \"" + std::string(area) +
                                        "\"; the areas are " + known);
  }
  return Result<std::string>::Success(asJson ? AsJson(selected) : AsText(selected));
}

// The schema of one type as a table.

using google::protobuf::Descriptor;
using google::protobuf::EnumDescriptor;
using google::protobuf::FieldDescriptor;

std::string TypeOf(const FieldDescriptor& field) {
  if (field.is_map()) {
    const Descriptor* entry = field.message_type();
    return "map<" + TypeOf(*entry->map_key()) + ", " + TypeOf(*entry->map_value()) + ">";
  }
  switch (field.type()) {
    case FieldDescriptor::TYPE_MESSAGE:
    case FieldDescriptor::TYPE_GROUP:
      return ContractShortName(field.message_type()->full_name());
    case FieldDescriptor::TYPE_ENUM:
      return ContractShortName(field.enum_type()->full_name());
    default:
      return field.type_name();
  }
}

std::string PresenceOf(const FieldDescriptor& field) {
  if (field.is_map()) {
    return "map";
  }
  if (field.is_repeated()) {
    return field.is_packable() && !field.is_packed() ? "repeated, unpacked" : "repeated";
  }
  if (field.has_optional_keyword()) {
    return "optional";
  }
  if (field.real_containing_oneof() != nullptr) {
    return "one of " + field.real_containing_oneof()->name();
  }
  return field.message_type() != nullptr ? "plain (message: has presence)" : "plain";
}

std::string RequestLine(const Descriptor& message) {
  const RequestInfo* request = FindRequest(message.name());
  if (request == nullptr || message.file()->package() != kContractPackage) {
    return "";
  }
  std::string line = "Request (" + std::string(ToString(request->kind)) + ", area " +
                     std::string(request->area) + ")";
  switch (request->kind) {
    case RequestKind::Query:
      return line + ", answered by " + std::string(request->answerType) + "\n";
    case RequestKind::Command:
      return line + ", answered by its outcome alone\n";
    case RequestKind::File:
      return line + ", answered by a file: use `vrex download`\n";
  }
  return line + "\n";
}

std::string DescribeMessage(const Descriptor& message) {
  std::string text = "message " + message.full_name() + "\n" + RequestLine(message);
  if (message.field_count() == 0) {
    return text + "No fields.\n";
  }
  TextTable table({"NO.", "FIELD", "TYPE", "PRESENCE"});
  for (int i = 0; i < message.field_count(); ++i) {
    const FieldDescriptor& field = *message.field(i);
    table.AddRow({std::to_string(field.number()), field.name(), TypeOf(field), PresenceOf(field)});
  }
  return text + table.Render();
}

std::string DescribeEnum(const EnumDescriptor& enumeration) {
  std::string text = "enum " + enumeration.full_name() + "\n";
  TextTable table({"NAME", "NUMBER"});
  for (int i = 0; i < enumeration.value_count(); ++i) {
    table.AddRow({enumeration.value(i)->name(), std::to_string(enumeration.value(i)->number())});
  }
  return text + table.Render();
}

/// A message ("MeasurementQuery", "bcl.DateTime") as a table of number,
/// field, type and presence, headed by its full name and, for a request,
/// its kind and answer; an enumeration ("LogLevel", "bcl.DateTime.DateTimeKind")
/// as a table of names and numbers. Fails for a name the schema lacks.
Result<std::string> DescribeSchemaType(std::string_view typeName) {
  if (const Descriptor* message = FindContractMessage(typeName)) {
    return Result<std::string>::Success(DescribeMessage(*message));
  }
  if (const EnumDescriptor* enumeration = FindContractEnum(typeName)) {
    return Result<std::string>::Success(DescribeEnum(*enumeration));
  }
  return Result<std::string>::Failure("the schema has no message or enumeration named \"" +
                                      std::string(typeName) + "\"; `vrex list` shows the requests");
}

// A JSON skeleton of a request for people to edit: every field present,
// lists with one element, maps with one entry, numbers 0, texts empty.

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

// Types being filled, outermost first, to stop at recursion.
using TypePath = std::vector<const Descriptor*>;

void Fill(Message& message, TypePath& path);

bool OnPath(const TypePath& path, const Descriptor* type) {
  for (const Descriptor* entry : path) {
    if (entry == type) {
      return true;
    }
  }
  return false;
}

// A time that only wants its value edited.
void FillTime(Message& message) {
  auto* time = dynamic_cast<bcl::DateTime*>(&message);
  if (time != nullptr) {
    time->set_scale(bcl::DateTime_TimeSpanScale_SECONDS);
    time->set_kind(bcl::DateTime_DateTimeKind_UTC);
  }
}

// A scalar's zero value in text form. Written through the text parser, it is
// set on a singular field, so that fields with explicit presence show up as
// well, and appended to a repeated one.
std::string ZeroText(const FieldDescriptor& field) {
  switch (field.cpp_type()) {
    case FieldDescriptor::CPPTYPE_BOOL:
      return "false";
    case FieldDescriptor::CPPTYPE_ENUM:
      return field.enum_type()->value(0)->name();
    case FieldDescriptor::CPPTYPE_STRING:
      return "\"\"";
    default:
      return "0";
  }
}

void AddZero(Message& message, const FieldDescriptor& field) {
  google::protobuf::TextFormat::ParseFieldValueFromString(ZeroText(field), &field, &message);
}

void FillField(Message& message, const FieldDescriptor& field, TypePath& path) {
  const Reflection& reflection = *message.GetReflection();
  const bool isMessage = field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE;
  if (isMessage && OnPath(path, field.message_type())) {
    return;
  }
  if (!isMessage) {
    AddZero(message, field);
  } else if (field.is_repeated()) {
    Fill(*reflection.AddMessage(&message, &field), path);
  } else {
    Fill(*reflection.MutableMessage(&message, &field), path);
  }
}

void Fill(Message& message, TypePath& path) {
  const Descriptor* type = message.GetDescriptor();
  path.push_back(type);
  for (int i = 0; i < type->field_count(); ++i) {
    FillField(message, *type->field(i), path);
  }
  FillTime(message);
  path.pop_back();
}

// The fields of `type` that restrict what a query selects when present.
std::vector<std::string> Filters(const Descriptor& type) {
  std::vector<std::string> names;
  for (int i = 0; i < type.field_count(); ++i) {
    const Descriptor* fieldType = type.field(i)->message_type();
    const std::string typeName = fieldType != nullptr ? fieldType->name() : "";
    if (typeName.size() > 6 && typeName.substr(typeName.size() - 6) == "Filter") {
      names.push_back(type.field(i)->name());
    }
  }
  return names;
}

/// The skeleton of the contract message `typeName` as proto3 JSON; parsing
/// it back gives a message of that type. Filters are written disabled
/// ("//Bench"), so that the skeleton sent as it is selects nothing. Times
/// are written with scale SECONDS and kind UTC so that only their value
/// needs editing. Types that contain themselves are cut off after the first
/// repetition.
Result<std::string> BuildJsonTemplate(std::string_view typeName) {
  const Descriptor* type = FindContractMessage(typeName);
  if (type == nullptr) {
    return Result<std::string>::Failure("the schema has no message named \"" +
                                        std::string(typeName) +
                                        "\"; `vrex list` shows the requests");
  }
  const Message* prototype =
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(type);
  std::unique_ptr<Message> skeleton(prototype->New());
  TypePath path;
  Fill(*skeleton, path);
  JsonLayout layout;
  layout.withDefaults = true;
  auto json = MessageToJson(*skeleton, layout);
  if (!json.Ok()) return json;
  return Result<std::string>::Success(
      DisableTopLevelMembers(std::move(json).Value(), Filters(*type)));
}

// The commands.

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

struct ListArguments {
  std::string area;
  bool json = false;
};

ExitCode RunList(const ListArguments& arguments, Console& console) {
  return Print(ListRequests(arguments.area, arguments.json), console);
}

ExitCode RunDescribe(const std::string& typeName, Console& console) {
  return Print(DescribeSchemaType(typeName), console);
}

ExitCode RunTemplate(const std::string& typeName, Console& console) {
  return Print(BuildJsonTemplate(typeName), console);
}

}  // namespace

void AddSchemaCommands(const CommandSetup& setup) {
  auto list = std::make_shared<ListArguments>();
  CLI::App& listCommand = AddCommand(
      setup,
      {"list", "List the requests the server accepts, by area (offline)",
       "Lists every request the server accepts, grouped by area, with its kind (query: "
       "answered by a message; command: answered by its outcome; file: answered by a file) and "
       "its answer.",
       "  vrex list\n  vrex list --family Measurements\n  vrex list --json\n"},
      list, &RunList);
  listCommand.add_option("--family,--area", list->area, "Only the requests of this area");
  listCommand.add_flag("--json", list->json, "Machine-readable output");

  auto describedType = std::make_shared<std::string>();
  AddCommand(setup,
             {"describe", "Show the fields of a message or an enumeration (offline)",
              "Shows the fields of a contract message (number, name, type, presence) or the "
              "values of an enumeration, from the schema built into vrex.",
              "  vrex describe MeasurementQuery\n  vrex describe TimeFilter\n"
              "  vrex describe bcl.DateTime\n  vrex describe LogLevel\n"},
             describedType, &RunDescribe)
      .add_option("TYPE", *describedType, "Message or enumeration, e.g. MeasurementQuery")
      ->required();

  auto templateType = std::make_shared<std::string>();
  AddCommand(setup,
             {"template", "Print a JSON skeleton of a request to edit (offline)",
              "Prints a JSON skeleton of a request (or any contract message) with every field, "
              "to edit and pass to `vrex call -d @file`. Filters are written as \"//Name\": vrex "
              "does not send them, so the skeleton selects nothing as it is; remove the // of "
              "each filter you fill in.",
              "  vrex template GeneralInformationQuery > query.json\n"
              "  vrex call http://results:8080 GeneralInformationQuery -d @query.json\n"},
             templateType, &RunTemplate)
      .add_option("TYPE", *templateType, "Request type, e.g. GeneralInformationQuery")
      ->required();
}

}  // namespace vrex::cli
