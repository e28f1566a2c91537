#pragma once
// Reads canned answers from a data directory, one set of files per request
// type. The format, in short (the sample plant's README.md shows examples):
//
//   <RequestType>.json  proto3 JSON of the answer message; the server sends its
//                       binary encoding with "Content-Type: application/x-protobuf".
//                       The message is the one the request catalog names for
//                       the request, or the one that answer-type names.
//   <RequestType>.bin   the answer body as raw bytes, sent as they are with
//                       "Content-Type: application/octet-stream".
//   <RequestType>.meta  optional; "key = value" lines; lines starting with '#'
//                       are comments:
//                         status = 503            HTTP status (default 200)
//                         content-type = text/html
//                         delay-ms = 250          wait before answering
//                         header = Location: /x   extra header, may repeat
//                         answer-type = VersionDTO  message the .json holds
//                       A .meta without a .json or .bin gives an empty body.
//
// <RequestType>.cases.json  cases of the request type: answers chosen by the
//                       request, and sequences of answers (docs/stub.md
//                       describes the form). The files above give its default case.
//
// <RequestType> must be a request the catalog knows; files with any other
// extension (README.md) are ignored.

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "vrex/Result.h"
#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/StubCase.h"

namespace vrex::stub {

/// Canned answers by request type.
using AnswerSet = std::map<std::string, CannedAnswer, std::less<>>;

/// Every answer of `directory`. Fails, naming the file and the reason, when
/// the directory cannot be read or any file in it is unusable: an unknown request type, JSON
/// that does not parse as the answer message (the protobuf parser's message is
/// quoted), a .json beside a .bin, or a bad .meta line.
Result<AnswerSet> LoadAnswerDirectory(const std::filesystem::path& directory);

/// Every case of `directory`: the answers of LoadAnswerDirectory as default
/// cases, and the cases of its case files. Fails as LoadAnswerDirectory does,
/// and for a case file that is unusable or gives a second default case.
Result<std::vector<StubCase>> LoadCaseDirectory(const std::filesystem::path& directory);

}  // namespace vrex::stub
