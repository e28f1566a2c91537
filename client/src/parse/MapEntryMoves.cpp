#include "parse/MapEntryMoves.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <type_traits>
#include <utility>

#include "MapFields.inc"

namespace vrex::internal {

namespace {

template <class MutableMap>
struct MapOwner;
template <class Owner, class Map>
struct MapOwner<Map* (Owner::*)()> {
  using Type = Owner;
};

template <class Value>
void MoveValue(Value& from, Value& into) {
  if constexpr (std::is_base_of_v<google::protobuf::Message, Value>) {
    into.Swap(&from);  // on one arena: the pointers change places, nothing is copied
  } else {
    into = std::move(from);
  }
}

template <auto kMutableMap>
void MoveEntries(google::protobuf::Message& from, google::protobuf::Message& into) {
  using Owner = typename MapOwner<decltype(kMutableMap)>::Type;
  auto& source = *(static_cast<Owner&>(from).*kMutableMap)();
  auto& target = *(static_cast<Owner&>(into).*kMutableMap)();
  for (auto& entry : source) {
    MoveValue(entry.second, target[entry.first]);
  }
  source.clear();
}

struct KnownMapField {
  const google::protobuf::Descriptor* owner;
  const char* accessor;  // the field's lower-case name
  MapEntryMove move;
};

#define VREX_KNOWN_MAP_FIELD(Message, accessor) \
  KnownMapField{Message::descriptor(), #accessor, &MoveEntries<&Message::mutable_##accessor>},

const KnownMapField kNone{nullptr, "", nullptr};

}  // namespace

MapEntryMove FindMapEntryMove(const google::protobuf::FieldDescriptor& field) {
  static const KnownMapField known[] = {VREX_MAP_FIELDS(VREX_KNOWN_MAP_FIELD) kNone};
  for (const KnownMapField& candidate : known) {
    if (candidate.owner == field.containing_type() &&
        field.lowercase_name() == candidate.accessor) {
      return candidate.move;
    }
  }
  return nullptr;
}

}  // namespace vrex::internal
