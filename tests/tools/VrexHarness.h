#pragma once
// vrex run in process, its standard streams kept in strings, against the
// sample plant served by a stub on an ephemeral loopback port.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "ScratchDirectory.h"
#include "StubFixture.h"

namespace vrex::testing {

struct VrexRun {
  int exitCode = -1;
  std::string out;
  std::string err;
};

/// vrex with `arguments` (no program name), `input` on its standard input
/// and help wrapped at `columns`.
VrexRun RunVrexInProcess(const std::vector<std::string>& arguments, const std::string& input = "",
                         std::size_t columns = 80);

class PlantServerTest : public ::testing::Test {
 public:
  void SetUp() override;
  void TearDown() override;

  /// vrex with "{url}" in `arguments` replaced by the server's URL (in
  /// "{https-url}" with https) and "{dir}" by the scratch directory.
  VrexRun Vrex(std::vector<std::string> arguments, const std::string& input = "") const;

  std::vector<stub::JournalEntry> Received(const std::string& requestType) const;

  stub::StubServer server;
  ScratchDirectory scratch;
};

}  // namespace vrex::testing
