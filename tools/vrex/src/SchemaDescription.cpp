#include "SchemaDescription.h"

#include <google/protobuf/descriptor.h>

#include "TextTable.h"
#include "vrex/ContractTypes.h"
#include "vrex/RequestCatalog.h"

namespace vrex::cli {

namespace {

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

}  // namespace

Result<std::string> DescribeSchemaType(std::string_view typeName) {
  if (const Descriptor* message = FindContractMessage(typeName)) {
    return Result<std::string>::Success(DescribeMessage(*message));
  }
  if (const EnumDescriptor* enumeration = FindContractEnum(typeName)) {
    return Result<std::string>::Success(DescribeEnum(*enumeration));
  }
  return Result<std::string>::Failure(
      "the schema has no message or enumeration named \"" + std::string(typeName) +
      "\"; `vrex list` shows the requests");
}

}  // namespace vrex::cli
