#include "AdminApi.h"

#include <array>
#include <exception>
#include <functional>
#include <string>

#include "CaseJson.h"

namespace vrex::stub {

namespace {

constexpr std::string_view kAdminPrefix = "/__stub/";
constexpr std::string_view kJsonContentType = "application/json";

CannedAnswer JsonBody(std::string json) {
  CannedAnswer answer;
  answer.body = std::move(json);
  answer.contentType = std::string(kJsonContentType);
  return answer;
}

struct Context {
  const JournalEntry& request;
  AnswerTable& answers;
  RequestJournal& journal;
};

CannedAnswer AddCase(const Context& context) {
  auto parsed = ParseCase(context.request.body);
  if (!parsed) return TextAnswer(400, parsed.GetStatus().Message());
  try {
    context.answers.Add(std::move(parsed).Value());
  } catch (const std::exception& error) {
    return TextAnswer(400, error.what());
  }
  return TextAnswer(201, "case added");
}

struct Route {
  std::string_view method;
  std::string_view path;  // after the prefix
  std::function<CannedAnswer(const Context&)> act;
};

const std::array<Route, 6>& Routes() {
  static const std::array<Route, 6> routes{{
      {"GET", "cases", [](const Context& c) { return JsonBody(CaseFileJson(c.answers.Cases())); }},
      {"POST", "cases", AddCase},
      {"DELETE", "cases",
       [](const Context& c) {
         c.answers.Clear();
         return TextAnswer(200, "cases removed");
       }},
      {"POST", "sequences/reset",
       [](const Context& c) {
         c.answers.ResetSequences();
         return TextAnswer(200, "sequences reset");
       }},
      {"GET", "journal",
       [](const Context& c) { return JsonBody(JournalJson(c.journal.Entries())); }},
      {"DELETE", "journal",
       [](const Context& c) {
         c.journal.Clear();
         return TextAnswer(200, "journal emptied");
       }},
  }};
  return routes;
}

}  // namespace

bool IsAdminPath(std::string_view path) {
  return path.substr(0, kAdminPrefix.size()) == kAdminPrefix;
}

CannedAnswer AnswerAdmin(std::string_view method, std::string_view path,
                         const JournalEntry& request, AnswerTable& answers,
                         RequestJournal& journal) {
  const std::string_view route = path.substr(kAdminPrefix.size());
  bool pathKnown = false;
  for (const Route& candidate : Routes()) {
    if (candidate.path != route) continue;
    pathKnown = true;
    if (candidate.method == method) return candidate.act({request, answers, journal});
  }
  if (pathKnown)
    return TextAnswer(405, std::string(method) + " is no method of " + std::string(path));
  std::string known;
  for (const Route& candidate : Routes()) {
    known += "\n  " + std::string(candidate.method) + " " + std::string(kAdminPrefix) +
             std::string(candidate.path);
  }
  return TextAnswer(404, "no such admin request: " + std::string(path) + "; there are:" + known);
}

}  // namespace vrex::stub
