#pragma once
// The message types a fuzz input can pick with its first byte: the answer
// messages of the catalog's queries and the request messages of every
// request. Both lists are fixed for one build, so an input always means the
// same type; the seed generator writes the same selector bytes.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace google::protobuf {
class Descriptor;
}

namespace vrex::fuzz {

using TypeList = std::vector<const google::protobuf::Descriptor*>;

/// Each message a query of the catalog is answered with, once, ordered by
/// name. Commands (answered by the outcome alone) and file requests (raw
/// bytes, never parsed) have none.
const TypeList& AnswerTypes();

/// The message of every request of the catalog, ordered by name.
const TypeList& RequestTypes();

/// The type that `selector` picks from `types` (which must not be empty).
const google::protobuf::Descriptor& SelectType(const TypeList& types, std::uint8_t selector);

/// The selector byte that picks `type`; throws std::out_of_range when
/// `types` lacks it.
std::uint8_t SelectorOf(const TypeList& types, const google::protobuf::Descriptor& type);

}  // namespace vrex::fuzz
