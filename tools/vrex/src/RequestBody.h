#pragma once
// The request text of `-d`: JSON given inline, "@file" to read a file, or
// "@-" to read standard input.

#include <google/protobuf/message.h>

#include <istream>
#include <memory>
#include <string>
#include <string_view>

#include "vrex/Result.h"

namespace vrex::cli {

/// The JSON text `argument` stands for; "{}" when it is empty. Fails when
/// the file cannot be read, naming it.
Result<std::string> ReadRequestText(std::string_view argument, std::istream& standardInput);

/// The request `requestType` (a request of the catalog) built from the JSON
/// `argument` stands for. The error names the cause and how to find the
/// right fields or type.
Result<std::unique_ptr<google::protobuf::Message>> ReadRequest(std::string_view requestType,
                                                                     std::string_view argument,
                                                                     std::istream& standardInput);

}  // namespace vrex::cli
