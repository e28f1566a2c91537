#pragma once
// Which answer the stub server gives to a request, by method, path and body.

#include <optional>
#include <string_view>

#include "AnswerTable.h"
#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

/// For "POST /api/<RequestType>": what the type's responder makes of
/// `request`, else the answer of the first of the type's cases that the
/// request matches (a 404 naming the closest cases when none does), else
/// the plant's answer when it holds data of the type, else 200 with an empty body. 404 for an unknown request type or any other path;
/// 405 for another method on a request type's path.
Selection SelectAnswer(std::string_view method, std::string_view path, const JournalEntry& request,
                       AnswerTable& answers);

/// The request type named by "/api/<RequestType>", or nothing for another path.
std::optional<std::string_view> RequestTypeOf(std::string_view path);

}  // namespace vrex::stub
