#pragma once
// Helpers shared by the session client's tests.

#include <string>
#include <utility>

#include "LoopbackPort.h"
#include "vrex/ClientOptions.h"
#include "vrex/stub/StubServer.h"

namespace vrex::testing {

/// Options for a client of `baseUrl` whose retries wait a few milliseconds.
inline ClientOptions QuickOptions(const std::string& baseUrl, int maxAttempts = 1) {
  ClientOptions options;
  options.baseUrl = baseUrl;
  options.totalTimeout = std::chrono::seconds(20);
  options.retry.maxAttempts = maxAttempts;
  options.retry.initialDelay = std::chrono::milliseconds(1);
  options.retry.maxDelay = std::chrono::milliseconds(4);
  return options;
}

inline stub::CannedAnswer Answer(int status, std::string body = {},
                                 std::string contentType = "application/x-protobuf") {
  stub::CannedAnswer answer;
  answer.status = status;
  answer.body = std::move(body);
  answer.contentType = std::move(contentType);
  return answer;
}

/// "http://127.0.0.1:<port>" where nothing listens: connecting is refused.
inline std::string UnreachableUrl() {
  return "http://127.0.0.1:" + std::to_string(FreeLoopbackPort());
}

}  // namespace vrex::testing
