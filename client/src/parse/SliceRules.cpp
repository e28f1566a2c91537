#include "parse/SliceRules.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include "parse/MapEntryMoves.h"

namespace vrex::internal {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;

bool JoinableWithoutCopies(const google::protobuf::Message& answer) {
  const Descriptor& type = *answer.GetDescriptor();
  const google::protobuf::Message* generated =
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(&type);
  // The entry movers cast to the generated class.
  if (generated == nullptr || generated->GetReflection() != answer.GetReflection() ||
      type.extension_range_count() > 0) {
    return false;
  }
  for (int index = 0; index < type.field_count(); ++index) {
    const FieldDescriptor& field = *type.field(index);
    if (field.is_map() && FindMapEntryMove(field) == nullptr) {
      return false;
    }
  }
  return true;
}

}  // namespace

SliceRules::SliceRules(const google::protobuf::Message& answer)
    : type_(*answer.GetDescriptor()),
      typeAllowsSlices_(JoinableWithoutCopies(answer)),
      seen_(static_cast<std::size_t>(type_.field_count() + type_.oneof_decl_count()), false) {}

bool SliceRules::Note(std::uint32_t fieldNumber) {
  if (fieldNumber == lastRepeatedNumber_) {
    return true;
  }
  const FieldDescriptor* field = type_.FindFieldByNumber(static_cast<int>(fieldNumber));
  if (field == nullptr || field->is_repeated()) {  // unknown fields are kept in order, like lists
    lastRepeatedNumber_ = fieldNumber;
    return true;
  }
  const auto* oneof = field->containing_oneof();
  const int slot = oneof != nullptr ? type_.field_count() + oneof->index() : field->index();
  if (seen_[static_cast<std::size_t>(slot)]) {
    return false;
  }
  seen_[static_cast<std::size_t>(slot)] = true;
  return true;
}

}  // namespace vrex::internal
