#pragma once
// Cases and the journal in JSON: the case files of a data directory, the
// bodies of the admin API and what recording writes. The forms are the
// messages of StubFiles.proto.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vrex/Result.h"
#include "vrex/stub/JournalEntry.h"
#include "vrex/stub/StubCase.h"

namespace vrex::stub {

/// The cases of a case file (`{"cases": [...]}`) of `requestType`. Fails,
/// naming the case and the cause, on JSON that is not of the form, an
/// answer body that is no JSON of the answer message, an unknown delivery
/// or a case of another request type.
Result<std::vector<StubCase>> ParseCaseFile(std::string_view requestType, std::string_view json);

/// One case (`{"requestType": ..., "match": ..., "answers": [...]}`), as the
/// admin API receives it.
Result<StubCase> ParseCase(std::string_view json);

/// `cases` as a case file: answers that decode as their request's answer
/// message in proto3 JSON, other bodies as base64.
std::string CaseFileJson(const std::vector<StubCase>& cases);

/// `entries` with the bodies of requests decoded into proto3 JSON and the
/// values of headers that carry secrets masked, and the count of those dropped.
std::string JournalJson(const std::vector<JournalEntry>& entries, std::uint64_t dropped);

}  // namespace vrex::stub
