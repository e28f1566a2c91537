#pragma once
// A canned answer from proto3 JSON of a request's answer message: what the
// data directory's .json files and the case files' "json" answers hold.

#include <string_view>

#include "vrex/RequestCatalog.h"
#include "vrex/Result.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub {

/// The catalog's entry of `requestType`; fails naming a type it does not know.
Result<const RequestInfo*> KnownRequest(std::string_view requestType);

/// A 200 answer from proto3 JSON of the answer message of `requestType`
/// (`answerType` overrides the catalog's message, by short name). Fails for
/// an unknown request type, a request answered by no message, or JSON that
/// does not parse.
Result<CannedAnswer> JsonAnswer(std::string_view requestType, std::string_view json,
                                std::string_view answerType = {});

}  // namespace vrex::stub
