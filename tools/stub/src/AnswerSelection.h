#pragma once
// Which answer the stub server gives to a request, by method and path.

#include <string_view>

#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub {

class AnswerTable;

/// The canned answer of "POST /api/<RequestType>"; 200 with an empty body for
/// a known request type without one; 404 for an unknown request type or any
/// other path; 405 for another method on a request type's path.
CannedAnswer SelectAnswer(std::string_view method, std::string_view path,
                          const AnswerTable& answers);

}  // namespace vrex::stub
