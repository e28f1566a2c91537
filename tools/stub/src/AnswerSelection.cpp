#include "AnswerSelection.h"

#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "AnswerTable.h"
#include "vrex/RequestCatalog.h"

namespace vrex::stub {

namespace {

constexpr std::string_view kApiPrefix = "/api/";

CannedAnswer Respond(const Responder& responder, const JournalEntry& request) {
  try {
    return responder(request);
  } catch (const std::exception& error) {
    return TextAnswer(500, std::string("the responder failed: ") + error.what());
  } catch (...) {
    return TextAnswer(500, "the responder failed");
  }
}

}  // namespace

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

Selection SelectAnswer(std::string_view method, std::string_view path, const JournalEntry& request,
                       AnswerTable& answers) {
  const auto requestType = RequestTypeOf(path);
  if (!requestType || FindRequest(*requestType) == nullptr) {
    return {TextAnswer(404, "no such request: " + std::string(path)), {}, false};
  }
  if (method != "POST") {
    return {TextAnswer(405, "requests are sent with POST"), {}, false};
  }
  if (const Responder responder = answers.FindResponder(*requestType)) {
    return {Respond(responder, request), {}, false};
  }
  if (auto selected = answers.Select(*requestType, request.body)) {
    return std::move(*selected);
  }
  if (const auto plant = answers.FindPlant()) {
    if (auto answer = plant->Answer(*requestType, request)) return {std::move(*answer), {}, false};
  }
  return {};
}

}  // namespace vrex::stub
