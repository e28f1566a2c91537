#include "Recorder.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "CaseJson.h"
#include "RequestMatch.h"
#include "CredentialMask.h"
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

/// Writes `text` to `path` whole or not at all; throws std::runtime_error
/// naming the cause when it cannot, leaving nothing behind.
void WriteWhole(const fs::path& path, const std::string& text) {
  const fs::path partial = path.string() + ".partial";
  std::error_code error = std::make_error_code(std::errc::io_error);
  if (std::ofstream out(partial, std::ios::binary | std::ios::trunc); out << text && out.flush()) {
    out.close();
    fs::rename(partial, path, error);
  }
  if (error) {
    std::error_code ignored;
    fs::remove(partial, ignored);
    throw std::runtime_error(path.string() + " cannot be written (" + error.message() + ")");
  }
}

}  // namespace

Recorder::Recorder(const std::string& liveUrl, fs::path directory,
                   std::chrono::milliseconds timeout, LogSink log)
    : directory_(std::move(directory)), timeout_(timeout), log_(std::move(log)) {
  const std::size_t scheme = liveUrl.find("://");
  const std::size_t path = liveUrl.find('/', scheme == std::string::npos ? 0 : scheme + 3);
  origin_ = liveUrl.substr(0, path);
  prefix_ = path == std::string::npos ? "" : liveUrl.substr(path);
  while (!prefix_.empty() && prefix_.back() == '/') prefix_.pop_back();
  fs::create_directories(directory_);
}

CannedAnswer Recorder::Forward(std::string_view requestType, const JournalEntry& request) {
  httplib::Headers headers;
  for (const HeaderField& header : request.headers) {
    if (!FramesTheHop(header.name)) headers.emplace(header.name, header.value);
  }
  const std::string* contentType = request.FindHeader("Content-Type");
  httplib::Client live(origin_);
  live.set_connection_timeout(timeout_);
  live.set_read_timeout(timeout_);
  live.set_write_timeout(timeout_);
  const auto response = live.Post(prefix_ + request.path, headers, request.body,
                                  contentType ? *contentType : std::string(kProtobufContentType));
  if (!response) {
    return TextAnswer(502, "the live server " + origin_ + prefix_ +
                               " did not answer: " + httplib::to_string(response.error()));
  }
  CannedAnswer answer;
  answer.status = response->status;
  answer.body = response->body;
  answer.contentType = response->get_header_value("Content-Type");
  CannedAnswer recorded = answer;
  recorded.body = WithoutSecrets(answer.body, SecretsOf(request.headers));
  Record(requestType, request, recorded);
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
  try {
    WriteWhole(directory_ / (std::string(requestType) + ".cases.json"), CaseFileJson(cases));
  } catch (const std::exception& error) {
    log_(std::string("the answer goes back unrecorded: ") + error.what());
  }
}

}  // namespace vrex::stub
