#pragma once
// Hands raw bytes to a running stub server, served on the calling thread, and
// checks how it handled them.
//
// Properties checked for every input:
//   - the server answers every request it handled and is still serving;
//   - what it answers follows the method its journal recorded: 200 only to a
//     POST, 405 only to another method (a journal that re-read the request
//     line itself once recorded "\t\tPOST" where the HTTP library read POST
//     and answered 200);
//   - the handler chooses only 200 (the sample plant's answers are all 200),
//     404 and 405; the HTTP library's own refusals of malformed requests never
//     reach the handler and are not checked;
//   - journal and observer saw the same number of requests.
// Memory errors and undefined behaviour in the stub's request path (raw byte
// recording, head parsing, answer selection) are the sanitizers' part.

#include <cstddef>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "CheckResult.h"
#include "vrex/stub/StubServer.h"

namespace vrex::fuzz {

class StubRequestProbe {
 public:
  /// Starts a stub server on 127.0.0.1 with an ephemeral port, answering
  /// from `answerDirectory`.
  explicit StubRequestProbe(const std::filesystem::path& answerDirectory);

  CheckResult Check(std::string_view rawRequest);

 private:
  void Observe(const stub::JournalEntry& entry, const stub::CannedAnswer& answer);

  stub::StubServer server_;
  std::mutex mutex_;  // the observer runs on the server's threads
  std::size_t handled_ = 0;
  std::vector<std::string> problems_;
};

}  // namespace vrex::fuzz
