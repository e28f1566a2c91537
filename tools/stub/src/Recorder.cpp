#include "Recorder.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "CaseJson.h"
#include "RequestMatch.h"
#include "vrex/MessageJson.h"
#include "vrex/data/Text.h"

namespace vrex::stub {

namespace fs = std::filesystem;

namespace {

/// Headers that frame one hop of a message; each side sets its own.
bool FramesTheHop(std::string_view name) {
  static constexpr std::array<std::string_view, 7> kHopHeaders{
      "Host",   "Content-Length", "Content-Type", "Connection", "Transfer-Encoding",
      "Expect", "Keep-Alive"};
  return std::any_of(kHopHeaders.begin(), kHopHeaders.end(),
                     [&](std::string_view hop) { return data::EqualsIgnoringCase(name, hop); });
}

/// The match that a request meets and the requests recorded before it do
/// not: the request's JSON with every field, defaults included. Empty for a
/// body that decodes as no request (the type's default case).
std::string MatchOf(std::string_view requestType, const std::string& body) {
  const auto request = DecodeRequest(requestType, body);
  if (request == nullptr) return {};
  const auto json = MessageToJson(*request, JsonLayout{false, true});
  return json ? json.Value() : std::string();
}

/// Writes `text` to `path` whole or not at all.
void WriteWhole(const fs::path& path, const std::string& text) {
  const fs::path partial = path.string() + ".partial";
  {
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out.flush()) throw std::runtime_error(partial.string() + ": cannot be written");
  }
  fs::rename(partial, path);
}

}  // namespace

Recorder::Recorder(std::string liveUrl, fs::path directory)
    : liveUrl_(std::move(liveUrl)), directory_(std::move(directory)) {
  fs::create_directories(directory_);
}

CannedAnswer Recorder::Forward(std::string_view requestType, const JournalEntry& request) {
  httplib::Headers headers;
  for (const HeaderField& header : request.headers) {
    if (!FramesTheHop(header.name)) headers.emplace(header.name, header.value);
  }
  const std::string* contentType = request.FindHeader("Content-Type");
  httplib::Client live(liveUrl_);
  const auto response = live.Post(request.path, headers, request.body,
                                  contentType ? *contentType : std::string(kProtobufContentType));
  if (!response) {
    return TextAnswer(502, "the live server " + liveUrl_ +
                               " did not answer: " + httplib::to_string(response.error()));
  }
  CannedAnswer answer;
  answer.status = response->status;
  answer.body = response->body;
  answer.contentType = response->get_header_value("Content-Type");
  Record(requestType, request, answer);
  for (const auto& [name, value] : response->headers) {
    if (!FramesTheHop(name)) answer.headers.push_back({name, value});
  }
  return answer;
}

void Recorder::Record(std::string_view requestType, const JournalEntry& request,
                      const CannedAnswer& answer) {
  std::string match = MatchOf(requestType, request.body);
  const std::lock_guard lock(mutex_);
  auto& cases = cases_[std::string(requestType)];
  if (std::any_of(cases.begin(), cases.end(),
                  [&](const StubCase& known) { return known.match == match; })) {
    return;  // the first answer to a request is the one replayed
  }
  const std::string name = "recorded " + std::to_string(cases.size() + 1);
  cases.push_back({std::string(requestType), name, std::move(match), {answer}});
  // A longer match names more: it goes first, or a shorter one it contains would take its requests.
  std::stable_sort(cases.begin(), cases.end(), [](const StubCase& a, const StubCase& b) {
    return a.match.size() > b.match.size();
  });
  WriteWhole(directory_ / (std::string(requestType) + ".cases.json"), CaseFileJson(cases));
}

}  // namespace vrex::stub
