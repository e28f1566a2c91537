#include "parse/SliceJoin.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <vector>

#include "parse/MapEntryMoves.h"

namespace vrex::internal {

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

// Appends the elements of a list of messages of `from` to that of `into`.
// Both are on one arena (or the heap): ownership moves with the pointers.
void MoveElements(const FieldDescriptor& field, Message& from, Message& into) {
  const auto* reflection = into.GetReflection();
  std::vector<Message*> elements(static_cast<std::size_t>(reflection->FieldSize(from, &field)));
  for (auto element = elements.rbegin(); element != elements.rend(); ++element) {
    *element = reflection->UnsafeArenaReleaseLast(&from, &field);
  }
  for (Message* element : elements) {
    reflection->UnsafeArenaAddAllocatedMessage(&into, &field, element);
  }
}

// Adds slice `from` to `into`, which holds the slices before it.
void MoveSlice(Message& from, Message& into) {
  const auto* reflection = into.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(from, &fields);
  for (const FieldDescriptor* field : fields) {
    if (field->is_map()) {
      FindMapEntryMove (*field)(from, into);
    } else if (field->is_repeated() && field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
      MoveElements(*field, from, into);
    } else if (!field->is_repeated()) {
      // SliceRules let no earlier slice have it: nothing to merge with.
      reflection->SwapFields(&from, &into, {field});
    }
  }
  // What is left: lists of numbers and strings, and unknown fields, appended.
  into.MergeFrom(from);
}

}  // namespace

void JoinSlices(const std::vector<Message*>& slices, Message& answer) {
  answer.Clear();
  if (slices.empty()) {
    return;
  }
  answer.GetReflection()->Swap(&answer, slices.front());
  for (std::size_t index = 1; index < slices.size(); ++index) {
    MoveSlice(*slices[index], answer);
  }
}

}  // namespace vrex::internal
