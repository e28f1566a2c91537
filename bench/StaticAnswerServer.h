#pragma once
// nginx on 127.0.0.1 answering "POST /api/<RequestType>" with a fixed body,
// for the end-to-end benchmarks of large answers. Not the stub server: it
// copies an answer twice per request and writes it in small pieces (about
// 0.3 s for 49 MB on the benchmark machine), which would hide the client's
// own time; nginx sends the file from the page cache (about 0.03 s).
#include <map>
#include <memory>
#include <string>

#include "ChildProcess.h"
#include "ScratchDirectory.h"

namespace bench {

class StaticAnswerServer {
 public:
  /// Serves each body under its request type. Throws std::runtime_error,
  /// with nginx's error log, when nginx is missing or does not start.
  explicit StaticAnswerServer(const std::map<std::string, std::string>& answers);
  ~StaticAnswerServer();
  StaticAnswerServer(const StaticAnswerServer&) = delete;
  StaticAnswerServer& operator=(const StaticAnswerServer&) = delete;

  std::string BaseUrl() const { return "http://127.0.0.1:" + std::to_string(port_); }

 private:
  void WriteConfig() const;

  vrex::testing::ScratchDirectory directory_;
  int port_ = 0;
  std::unique_ptr<vrex::testing::ChildProcess> process_;
};

}  // namespace bench
