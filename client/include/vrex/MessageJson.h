#pragma once
// Contract messages to and from proto3 JSON, for programs that let people
// write requests and read answers as text (the vrex command line, fuzzers).
//
//   auto request = vrex::MessageFromJson("MeasurementQuery",
//                                        R"({"Factory": "F1", "Line": "L1"})");
//   if (!request) { std::cerr << request.GetStatus().Message() << '\n'; return; }
//   vrex::Outcome outcome = client.Send(*request.Value(), answer);
//
// Field names are those of the contract ("Factory", "LastN"). A field the
// message does not have is an error that names it; so is any text that is
// not JSON of the message. Nothing here throws of its own or aborts on bad
// input: every failure comes back as the error text of the result.

#include <google/protobuf/message.h>

#include <memory>
#include <string>
#include <string_view>

#include "vrex/Export.h"
#include "vrex/Result.h"

namespace vrex {

/// How MessageToJson lays the text out.
struct JsonLayout {
  bool multiLine = true;        ///< indented, one field a line; else one line
  bool withDefaults = false;    ///< also fields at their default (0, "", false)
  bool enumsAsNumbers = false;  ///< enumeration values as numbers, not names
};

/// Builds a message of the contract type `typeName` from `json`. The type is
/// named short ("MeasurementQuery", in Korvan.KQ.DataContracts) or in full
/// ("bcl.DateTime"). Fails on an unknown type, text that is not JSON, a
/// field the type lacks and a value of the wrong kind.
VREX_EXPORT Result<std::unique_ptr<google::protobuf::Message>> MessageFromJson(
    std::string_view typeName, std::string_view json);

/// Fills `message` from `json`, as MessageFromJson does; on failure `message`
/// holds whatever was read before the error. Returns the error text, empty on
/// success.
VREX_EXPORT std::string MergeJsonInto(std::string_view json, google::protobuf::Message& message);

/// `message` as proto3 JSON with the contract's field names.
VREX_EXPORT Result<std::string> MessageToJson(const google::protobuf::Message& message,
                                              const JsonLayout& layout = {});

}  // namespace vrex
