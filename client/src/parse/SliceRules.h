#pragma once
// Which top-level fields of an answer's encoding may end up in different
// slices. Slices parsed on their own and merged in order give the message a
// parse in one piece gives, with two exceptions this class finds:
//   - a field that holds one value (or a oneof) occurring twice: a parse in
//     one piece lets the second occurrence overwrite or merge into the first
//     field by field, and a merge of messages cannot tell a value sent as
//     zero from one not sent at all;
//   - types the slices cannot be joined for without copying: map fields
//     without an entry mover (MapEntryMoves.h), extensions, messages of
//     another factory than the generated one.

#include <cstdint>
#include <vector>

namespace google::protobuf {
class Descriptor;
class Message;
}  // namespace google::protobuf

namespace vrex::internal {

class SliceRules {
 public:
  explicit SliceRules(const google::protobuf::Message& answer);

  /// False when messages of this type are always parsed in one piece.
  bool TypeAllowsSlices() const { return typeAllowsSlices_; }

  /// Notes one top-level field of the encoding, in wire order; false once a
  /// field that holds one value occurs for the second time.
  bool Note(std::uint32_t fieldNumber);

 private:
  const google::protobuf::Descriptor& type_;
  bool typeAllowsSlices_;
  std::vector<bool> seen_;                // per field index, then per oneof index
  std::uint32_t lastRepeatedNumber_ = 0;  // lists come in runs: skip their lookups
};

}  // namespace vrex::internal
