#pragma once
// The sample plant served by a stub server on an ephemeral loopback port,
// started and stopped with each test.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VrexProcess.h"
#include "vrex/stub/StubServer.h"

namespace vrex::testing {

/// An answer of `status` with exactly `body`.
stub::CannedAnswer BodyAnswer(int status, std::string body, std::string contentType);

class PlantServerTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// vrex with `arguments`, the server URL put in after the command name.
  ProcessResult Vrex(const std::string& command, std::vector<std::string> arguments = {},
                     const ProcessInput& input = {}) const;

  /// The requests of one type the server received, in order.
  std::vector<stub::JournalEntry> Received(const std::string& requestType) const;

  stub::StubServer server;
};

}  // namespace vrex::testing
