#include "AdminApi.h"

#include <array>
#include <exception>
#include <functional>
#include <string>

#include <boost/asio/ip/address.hpp>
#include <optional>

#include "CaseJson.h"
#include "vrex/data/JsonShape.h"
#include "vrex/data/Text.h"

namespace vrex::stub {

namespace {

constexpr std::string_view kAdminPrefix = "/__stub/";
constexpr std::string_view kJsonContentType = "application/json";
// Far beyond any case a test writes; the JSON parser's time grows faster
// than the size of what it parses, so the bounds come before it.
constexpr std::size_t kLargestCase = std::size_t{16} << 20;
constexpr int kDeepestCase = 64;  // arrays and objects within each other

/// Whether `host` (a Host header: a name or address, perhaps with a port)
/// names this machine's loopback interface.
bool IsLoopbackName(std::string_view host) {
  if (!host.empty() && host.front() == '[') {
    host = host.substr(1, host.find(']') - 1);  // [::1]:8080
  } else {
    host = host.substr(0, host.find(':'));
  }
  boost::system::error_code error;
  const auto address = boost::asio::ip::make_address(std::string(host), error);
  return error ? data::EqualsIgnoringCase(host, "localhost") : address.is_loopback();
}

/// Why a request may not use the admin API, if it may not.
std::optional<std::string> Untrusted(const JournalEntry& request) {
  if (const std::string* origin = request.FindHeader("Origin")) {
    return "it carries an Origin (" + *origin + "), so a web page sent it";
  }
  const std::string* host = request.FindHeader("Host");
  if (host != nullptr && !IsLoopbackName(*host)) {
    return "its Host " + *host + " is no loopback name";
  }
  return std::nullopt;
}


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
  const std::string& body = context.request.body;
  if (body.size() > kLargestCase) {
    return TextAnswer(413, "a case over " + std::to_string(kLargestCase) + " bytes is refused");
  }
  if (data::ScanJsonShape(body).depth > kDeepestCase) {
    return TextAnswer(400, "a case nesting arrays and objects deeper than " +
                               std::to_string(kDeepestCase) + " levels is refused");
  }
  auto parsed = ParseCase(body);
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
       [](const Context& c) { return JsonBody(JournalJson(c.journal.Entries(), c.journal.Dropped())); }},
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

namespace {

CannedAnswer Routed(std::string_view method, std::string_view path, const Context& context) {
  const std::string_view route = path.substr(kAdminPrefix.size());
  bool pathKnown = false;
  for (const Route& candidate : Routes()) {
    if (candidate.path != route) continue;
    pathKnown = true;
    if (candidate.method == method) return candidate.act(context);
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

}  // namespace

CannedAnswer AnswerAdmin(std::string_view method, std::string_view path,
                         const JournalEntry& request, AnswerTable& answers,
                         RequestJournal& journal, const StubServerOptions& options) {
  const std::optional<std::string> untrusted =
      options.allowRemoteAdmin ? std::nullopt : Untrusted(request);
  CannedAnswer answer =
      untrusted ? TextAnswer(403, "the admin API refuses this request: " + *untrusted +
                                      "; --allow-remote-admin (allowRemoteAdmin) lets it in")
                : Routed(method, path, {request, answers, journal});
  if (answer.status >= 400) {
    const std::string& text = answer.body;
    options.log("admin request " + std::string(method) + " " + std::string(path) +
                " refused with " + std::to_string(answer.status) + ": " +
                text.substr(0, text.find('\n')));
  }
  return answer;
}

}  // namespace vrex::stub
