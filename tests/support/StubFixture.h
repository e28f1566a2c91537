#pragma once
// A stub results server started on an ephemeral loopback port for each test.
#include <gtest/gtest.h>

#include "vrex/stub/StubServer.h"

class StubFixture : public ::testing::Test {
 protected:
  void SetUp() override { server.Start(); }
  void TearDown() override { server.Stop(); }

  std::string Url(const std::string& endpoint) const {
    return server.BaseUrl() + "/api/" + endpoint;
  }

  vrex::stub::StubServer server;
};
