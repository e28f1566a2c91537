#pragma once
// A stub results server started on an ephemeral loopback port for each test,
// and the plain answers tests give it.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "vrex/stub/StubServer.h"

namespace vrex::testing {

/// An answer of `status` with exactly `body`.
inline stub::CannedAnswer Answer(int status, std::string body = {},
                                 std::string contentType = "application/x-protobuf") {
  stub::CannedAnswer answer;
  answer.status = status;
  answer.body = std::move(body);
  answer.contentType = std::move(contentType);
  return answer;
}

}  // namespace vrex::testing

class StubFixture : public ::testing::Test {
 protected:
  void SetUp() override { server.Start(); }
  void TearDown() override { server.Stop(); }

  std::string Url(const std::string& endpoint) const {
    return server.BaseUrl() + "/api/" + endpoint;
  }

  vrex::stub::StubServer server;
};
