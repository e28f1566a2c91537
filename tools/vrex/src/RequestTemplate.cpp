#include "RequestTemplate.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/reflection.h>
#include <google/protobuf/text_format.h>

#include <memory>
#include <string>
#include <vector>

#include "bcl.pb.h"
#include "vrex/ContractTypes.h"
#include "vrex/MessageJson.h"

namespace vrex::cli {

namespace {

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

}  // namespace

Result<std::string> BuildJsonTemplate(std::string_view typeName) {
  const Descriptor* type = FindContractMessage(typeName);
  if (type == nullptr) {
    return Result<std::string>::Failure(
        "the schema has no message named \"" + std::string(typeName) +
        "\"; `vrex list` shows the requests");
  }
  const Message* prototype =
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(type);
  std::unique_ptr<Message> skeleton(prototype->New());
  TypePath path;
  Fill(*skeleton, path);
  JsonLayout layout;
  layout.withDefaults = true;
  return MessageToJson(*skeleton, layout);
}

}  // namespace vrex::cli
