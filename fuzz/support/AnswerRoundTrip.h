#pragma once
// Reads an answer body the way the clients do and checks that the message
// survives its own encoding.
//
// "Stable" means: the body parses on the heap (VrexClient::Post) exactly when
// it parses on an arena (vrex::Client), both give the same message, and once
// read, the message's encoding is a fixed point: parsing it again succeeds and
// encodes to the very same bytes. The first encoding need not equal the body:
// the parser accepts field order, duplicate fields (last one wins), packed and
// unpacked lists, non-minimal varints and duplicate map keys, which the writer
// normalises. Map entries are written in key order (deterministic encoding);
// the plain encoding follows hash order and is not comparable. Unknown fields
// and unknown enumeration numbers are kept and written back, so they must
// survive too.

#include <string_view>

#include "CheckResult.h"

namespace google::protobuf {
class Descriptor;
}

namespace vrex::fuzz {

CheckResult CheckAnswerRoundTrip(const google::protobuf::Descriptor& type, std::string_view body);

}  // namespace vrex::fuzz
