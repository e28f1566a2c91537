#pragma once
// A stub results server started on an ephemeral loopback port for each test,
// and the plain answers tests give it.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
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

/// `body` with status 200, sent by `delivery`: `repeat` times, `pace` apart, after `delay`.
inline stub::CannedAnswer Delivered(std::string body, stub::Delivery delivery,
                                    std::uint64_t repeat = 1, std::chrono::milliseconds pace = {},
                                    std::chrono::milliseconds delay = {}) {
  stub::CannedAnswer answer = Answer(200, std::move(body));
  answer.delivery = delivery;
  answer.repeat = repeat;
  answer.pace = pace;
  answer.delay = delay;
  return answer;
}

/// `body` with a Content-Length of `length`, true or not.
inline stub::CannedAnswer Announcing(std::uint64_t length, std::string body) {
  stub::CannedAnswer answer = Answer(200, std::move(body));
  answer.announcedLength = length;
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
