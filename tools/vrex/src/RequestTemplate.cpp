#include "RequestTemplate.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/reflection.h>

#include <memory>
#include <vector>

#include "bcl.pb.h"
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

// Sets a singular scalar to its default, so that fields with explicit
// presence show up as well.
void SetDefault(Message& message, const FieldDescriptor& field) {
  const Reflection& reflection = *message.GetReflection();
  switch (field.cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
      reflection.SetInt32(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_INT64:
      reflection.SetInt64(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_UINT32:
      reflection.SetUInt32(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_UINT64:
      reflection.SetUInt64(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_DOUBLE:
      reflection.SetDouble(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_FLOAT:
      reflection.SetFloat(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_BOOL:
      reflection.SetBool(&message, &field, false);
      break;
    case FieldDescriptor::CPPTYPE_ENUM:
      reflection.SetEnumValue(&message, &field, field.enum_type()->value(0)->number());
      break;
    case FieldDescriptor::CPPTYPE_STRING:
      reflection.SetString(&message, &field, "");
      break;
    case FieldDescriptor::CPPTYPE_MESSAGE:
      break;
  }
}

void AddDefault(Message& message, const FieldDescriptor& field) {
  const Reflection& reflection = *message.GetReflection();
  switch (field.cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
      reflection.AddInt32(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_INT64:
      reflection.AddInt64(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_UINT32:
      reflection.AddUInt32(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_UINT64:
      reflection.AddUInt64(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_DOUBLE:
      reflection.AddDouble(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_FLOAT:
      reflection.AddFloat(&message, &field, 0);
      break;
    case FieldDescriptor::CPPTYPE_BOOL:
      reflection.AddBool(&message, &field, false);
      break;
    case FieldDescriptor::CPPTYPE_ENUM:
      reflection.AddEnumValue(&message, &field, field.enum_type()->value(0)->number());
      break;
    case FieldDescriptor::CPPTYPE_STRING:
      reflection.AddString(&message, &field, "");
      break;
    case FieldDescriptor::CPPTYPE_MESSAGE:
      break;
  }
}

void FillField(Message& message, const FieldDescriptor& field, TypePath& path) {
  const Reflection& reflection = *message.GetReflection();
  const bool isMessage = field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE;
  if (isMessage && OnPath(path, field.message_type())) {
    return;
  }
  if (field.is_repeated()) {
    if (isMessage) {
      Fill(*reflection.AddMessage(&message, &field), path);
    } else {
      AddDefault(message, field);
    }
  } else if (isMessage) {
    Fill(*reflection.MutableMessage(&message, &field), path);
  } else {
    SetDefault(message, field);
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

data::Result<std::string> BuildJsonTemplate(std::string_view typeName) {
  const Descriptor* type = FindMessageType(typeName);
  if (type == nullptr) {
    return data::Result<std::string>::Failure(
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
