#include "AnswerSelection.h"

#include <optional>
#include <string>
#include <utility>

#include "AnswerTable.h"
#include "vrex/RequestCatalog.h"

namespace vrex::stub {

namespace {

constexpr std::string_view kApiPrefix = "/api/";

CannedAnswer TextAnswer(int status, std::string text) {
  CannedAnswer answer;
  answer.status = status;
  answer.body = std::move(text) + "\n";
  answer.contentType = "text/plain";
  return answer;
}

/// The request type named by "/api/<RequestType>", or nothing for another path.
std::optional<std::string_view> RequestTypeOf(std::string_view path) {
  if (path.substr(0, kApiPrefix.size()) != kApiPrefix) {
    return std::nullopt;
  }
  const std::string_view type = path.substr(kApiPrefix.size());
  if (type.empty() || type.find('/') != std::string_view::npos) {
    return std::nullopt;
  }
  return type;
}

}  // namespace

CannedAnswer SelectAnswer(std::string_view method, std::string_view path,
                          const JournalEntry& request, const AnswerTable& answers) {
  const auto requestType = RequestTypeOf(path);
  if (!requestType || FindRequest(*requestType) == nullptr) {
    return TextAnswer(404, "no such request: " + std::string(path));
  }
  if (method != "POST") {
    return TextAnswer(405, "requests are sent with POST");
  }
  if (const Responder responder = answers.FindResponder(*requestType)) {
    return responder(request);
  }
  if (auto canned = answers.Find(*requestType)) {
    return std::move(*canned);
  }
  return CannedAnswer{};
}

}  // namespace vrex::stub
