#pragma once
// Joins the slices of one answer into the answer: the messages that
// consecutive pieces of its encoding were parsed into, each on its own, give
// the message that parsing all the pieces in one go gives. The elements of
// lists of messages and the values of maps are moved, not copied.

#include <vector>

namespace google::protobuf {
class Message;
}

namespace vrex::internal {

/// Replaces `answer` with the join of `slices` (in wire order), which are
/// left empty. The slices must be of the answer's generated class,
/// on the answer's arena (or all on the heap), cut where SliceRules allows.
void JoinSlices(const std::vector<google::protobuf::Message*>& slices,
                google::protobuf::Message& answer);

}  // namespace vrex::internal
