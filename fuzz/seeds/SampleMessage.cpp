#include "SampleMessage.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/text_format.h>

namespace vrex::fuzz {

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

// Deep enough for every container of the contract down to its values; the
// topology nodes nest themselves and stop here.
constexpr int kMaxDepth = 5;

class Filler {
 public:
  explicit Filler(const SamplePlant& plant) : plant_(plant) {}

  void Fill(Message& message, int depth) const {
    if (depth > kMaxDepth) {
      return;
    }
    const auto& type = *message.GetDescriptor();
    for (int i = 0; i < type.field_count(); ++i) {
      FillField(message, *type.field(i), depth);
    }
  }

 private:
  // A list (or map) gets one element, a single field its value.
  void FillField(Message& message, const FieldDescriptor& field, int depth) const {
    const Reflection& reflection = *message.GetReflection();
    if (field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
      Fill(field.is_repeated() ? *reflection.AddMessage(&message, &field)
                               : *reflection.MutableMessage(&message, &field),
           depth + 1);
      return;
    }
    // The text-format parser sets a single field and adds to a list alike.
    google::protobuf::TextFormat::ParseFieldValueFromString(ValueText(field), &field, &message);
  }

  std::string ValueText(const FieldDescriptor& field) const {
    switch (field.cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT64:
        return "-70000000000";
      case FieldDescriptor::CPPTYPE_UINT64:
        return "70000000000";
      case FieldDescriptor::CPPTYPE_DOUBLE:
        return "2.5";
      case FieldDescriptor::CPPTYPE_FLOAT:
        return "0.5";
      case FieldDescriptor::CPPTYPE_BOOL:
        return "true";
      case FieldDescriptor::CPPTYPE_ENUM: {
        const auto& values = *field.enum_type();
        return values.value(values.value_count() - 1)->name();
      }
      case FieldDescriptor::CPPTYPE_STRING:
        return '"' + google::protobuf::CEscape(Text(field)) + '"';
      default:  // 32-bit integers
        return "7";
    }
  }

  std::string Text(const FieldDescriptor& field) const {
    if (field.name() == "Factory") return plant_.factory;
    if (field.name() == "Line") return plant_.line;
    if (field.name() == "TestBench") return plant_.testBench;
    return field.name() == "key" ? "1" : "sample " + field.name();
  }

  const SamplePlant& plant_;
};

}  // namespace

void FillSample(Message& message, const SamplePlant& plant) { Filler(plant).Fill(message, 0); }

}  // namespace vrex::fuzz
