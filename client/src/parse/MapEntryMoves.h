#pragma once
// Moving the entries of a map field from one message into another without
// copying their values. Protobuf's reflection reaches map entries only
// through copies, so every map field of the contract gets a typed mover,
// listed from the schema files when the build is configured (MapFields.inc).

namespace google::protobuf {
class FieldDescriptor;
class Message;
}  // namespace google::protobuf

namespace vrex::internal {

/// Puts every entry of the map field of `from` into the same field of `into`,
/// replacing an entry of the same key as a later entry replaces an earlier
/// one in a parse, and empties the field of `from`. Both must be the
/// generated class of the field's message, on the same arena (or both on the
/// heap): message values are swapped, not copied.
using MapEntryMove = void (*)(google::protobuf::Message& from, google::protobuf::Message& into);

/// The mover of `field`, a map field; nullptr when the contract has none
/// for it.
MapEntryMove FindMapEntryMove(const google::protobuf::FieldDescriptor& field);

}  // namespace vrex::internal
