#pragma once
// Helpers shared by the session client's tests.

#include <string>

#include "LoopbackPort.h"
#include "StubFixture.h"
#include "vrex/ClientOptions.h"

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

}  // namespace vrex::testing
