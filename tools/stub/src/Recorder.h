#pragma once
// Recording for vrex-stub --record-from: every request is forwarded to a
// live server, its answer returned unchanged, and each distinct request
// written as a case of its type's case file, so that the directory replays
// the same answers to the same requests. Request headers (the gateway token
// among them) are forwarded and never written; an answer that quotes one
// that carries a secret is recorded with it masked.

#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/JournalEntry.h"
#include "vrex/stub/StubCase.h"
#include "vrex/stub/StubServerOptions.h"

namespace vrex::stub {

class Recorder {
 public:
  /// `liveUrl`: "http://HOST:PORT" of the live server, perhaps with a path
  /// that goes before each request's; `directory` receives the case files
  /// (created when missing; case files of recorded types are replaced).
  /// A live server silent for `timeout` is given up; `log` hears of case
  /// files that could not be written.
  Recorder(const std::string& liveUrl, std::filesystem::path directory,
           std::chrono::milliseconds timeout, LogSink log);

  /// The live server's answer to `request`, recorded. A live server that
  /// cannot be reached gives 502, which is not recorded; a case file that
  /// cannot be written is logged and the answer returned all the same.
  CannedAnswer Forward(std::string_view requestType, const JournalEntry& request);

 private:
  void Record(std::string_view requestType, const JournalEntry& request,
              const CannedAnswer& answer);

  std::string origin_;  // scheme, host and port
  std::string prefix_;  // the path before each request's, without a final slash
  std::filesystem::path directory_;
  std::chrono::milliseconds timeout_;
  LogSink log_;
  std::mutex mutex_;
  std::map<std::string, std::vector<StubCase>, std::less<>> cases_;
};

}  // namespace vrex::stub
