// Clients that misbehave against the stub: a head sent a byte at a time, a
// gigabyte body, more idle connections than allowed, a client that never
// reads its answer. The stub bounds what each costs, says so in its log, and
// keeps answering everybody else.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "RawHttp.h"
#include "vrex/stub/StubServer.h"

namespace vrex::stub {
namespace {

using ::testing::HasSubstr;
using vrex::testing::ExchangeRaw;
using vrex::testing::RawConnection;
using vrex::testing::StatusOf;

constexpr std::size_t kConnectionLimit = 8;

using Held = std::vector<std::unique_ptr<RawConnection>>;

struct HostileClient {
  std::string name;
  /// Misbehaves against the stub at `port`, keeping its connections in `held`.
  std::function<void(int port, Held& held)> misbehave;
  std::string logged;  ///< what the stub's log says when its bound applies
};

void PrintTo(const HostileClient& client, std::ostream* out) { *out << client.name; }

std::unique_ptr<RawConnection> Sending(int port, const std::string& bytes) {
  auto connection = std::make_unique<RawConnection>(port);
  connection->Send(bytes);
  return connection;
}

const std::string kHeadStart = "POST /api/ApiVersionQuery HTTP/1.1\r\nHost: 127.0.0.1\r\n";

std::vector<HostileClient> HostileClients() {
  return {
      {"HeadOneByteAtATime",
       [](int port, Held& held) {
         held.push_back(Sending(port, kHeadStart.substr(0, 1)));
         for (std::size_t at = 1; at < 8; ++at) held.back()->Send(kHeadStart.substr(at, 1));
       },
       "did not arrive whole within"},
      {"GigabyteBody",
       [](int port, Held& held) {
         held.push_back(Sending(port, kHeadStart + "Content-Length: 1000000000\r\n\r\nxxxx"));
         EXPECT_EQ(StatusOf(held.back()->Receive()), 413);
       },
       "is refused with 413"},
      {"MoreIdleConnectionsThanAllowed",
       [](int port, Held& held) {
         for (std::size_t i = 0; i < 4 * kConnectionLimit; ++i) {
           held.push_back(std::make_unique<RawConnection>(port));
         }
       },
       "connection limit of 8"},
      {"NeverReadsItsAnswer",
       [](int port, Held& held) {
         held.push_back(Sending(port,
                                "POST /api/MeasurementQuery HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                                "Content-Length: 0\r\n\r\n"));
       },
       "took no byte of its answer"},
  };
}

class HostileClientTest : public ::testing::TestWithParam<HostileClient> {
 protected:
  void SetUp() override {
    StubServerOptions options;
    options.maxRequestBytes = 1 << 20;
    options.readTimeout = std::chrono::milliseconds(300);
    options.writeTimeout = std::chrono::milliseconds(300);
    options.maxConnections = kConnectionLimit;
    options.log = [this](std::string_view line) {
      const std::lock_guard lock(mutex);
      log += std::string(line) + "\n";
    };
    server = std::make_unique<StubServer>(options);
    CannedAnswer large;
    large.body.assign(std::size_t{64} << 20, 'x');  // far more than the socket buffers take
    server->SetAnswer("MeasurementQuery", large);
    server->Start();
  }
  void TearDown() override { server->Stop(); }

  /// The log once it holds `part`, boundedly: the stub writes it on its own threads.
  std::string LogHolding(const std::string& part) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (;;) {
      {
        const std::lock_guard lock(mutex);
        if (log.find(part) != std::string::npos || std::chrono::steady_clock::now() > deadline) {
          return log;
        }
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  std::unique_ptr<StubServer> server;
  std::mutex mutex;
  std::string log;
};

TEST_P(HostileClientTest, IsBoundedAndLoggedWhileOthersAreStillAnswered) {
  Held held;
  GetParam().misbehave(server->Port(), held);

  const std::string other =
      ExchangeRaw(server->Port(), kHeadStart + "Connection: close\r\nContent-Length: 0\r\n\r\n");

  EXPECT_EQ(StatusOf(other), 200) << other;
  EXPECT_THAT(LogHolding(GetParam().logged), HasSubstr(GetParam().logged));
}

INSTANTIATE_TEST_SUITE_P(Clients, HostileClientTest, ::testing::ValuesIn(HostileClients()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace vrex::stub
