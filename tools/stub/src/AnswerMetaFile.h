#pragma once
// The optional <RequestType>.meta file of a data directory: the parts of an
// answer that are not its body.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vrex/Result.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub {

struct AnswerMeta {
  std::optional<int> status;
  std::optional<std::string> contentType;
  std::optional<std::chrono::milliseconds> delay;
  std::vector<ResponseHeader> headers;
  std::string answerType;  ///< short message name; empty: the catalog's
};

/// Parses the "key = value" lines of a .meta file. Fails, naming `origin`
/// and the line, for an unknown key or a bad value.
Result<AnswerMeta> ParseAnswerMeta(std::string_view text, const std::string& origin);

/// Applies what `meta` states to `answer`, leaving the rest as it is.
void ApplyAnswerMeta(const AnswerMeta& meta, CannedAnswer& answer);

}  // namespace vrex::stub
