#pragma once
// Which answer the stub server gives to a request, by method and path.

#include <string_view>

#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

class AnswerTable;

/// For "POST /api/<RequestType>": what the type's responder makes of
/// `request`, else the type's canned answer, else 200 with an empty body. 404
/// for an unknown request type or any other path; 405 for another method on a
/// request type's path.
CannedAnswer SelectAnswer(std::string_view method, std::string_view path,
                          const JournalEntry& request, const AnswerTable& answers);

}  // namespace vrex::stub
