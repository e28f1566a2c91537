#pragma once
// Recording for vrex-stub --record-from: every request is forwarded to a
// live server, its answer returned unchanged, and each distinct request
// written as a case of its type's case file, so that the directory replays
// the same answers to the same requests. Request headers (the gateway token
// among them) are forwarded and never written.

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/JournalEntry.h"
#include "vrex/stub/StubCase.h"

namespace vrex::stub {

class Recorder {
 public:
  /// `liveUrl`: "http://HOST:PORT" of the live server; `directory` receives
  /// the case files (created when missing; case files of recorded types are
  /// replaced).
  Recorder(std::string liveUrl, std::filesystem::path directory);

  /// The live server's answer to `request`, recorded. A live server that
  /// cannot be reached gives 502, which is not recorded.
  CannedAnswer Forward(std::string_view requestType, const JournalEntry& request);

 private:
  void Record(std::string_view requestType, const JournalEntry& request,
              const CannedAnswer& answer);

  std::string liveUrl_;
  std::filesystem::path directory_;
  std::mutex mutex_;
  std::map<std::string, std::vector<StubCase>, std::less<>> cases_;
};

}  // namespace vrex::stub
