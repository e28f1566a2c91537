// TLS is verified unless a caller turns it off: certificate and host name,
// by the session client and by the established Post alike. The server is a
// loopback HTTPS server with a self-signed certificate for 127.0.0.1
// (data/loopback-cert.pem).
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>

#include "ApiVersionQuery.pb.h"
#include "FaultCatalog.h"
#include "VrexClient.h"
#include "vrex/Client.h"

namespace vrex::reliability {
namespace {

const std::string kCertificate = VREX_RELIABILITY_DATA_DIR "/loopback-cert.pem";
const std::string kPrivateKey = VREX_RELIABILITY_DATA_DIR "/loopback-key.pem";

// An HTTPS server answering "/api/ApiVersionQuery" with the version.
class LoopbackHttpsServer {
 public:
  LoopbackHttpsServer() : server_(kCertificate.c_str(), kPrivateKey.c_str()) {
    if (!server_.is_valid()) {
      throw std::runtime_error("cannot load " + kCertificate);
    }
    server_.Post("/api/ApiVersionQuery", [this](const httplib::Request&, httplib::Response& res) {
      ++requests_;
      res.set_content(ServerVersion().SerializeAsString(), "application/x-protobuf");
    });
    port_ = server_.bind_to_any_port("127.0.0.1");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    for (int wait = 0; wait < 5000 && !server_.is_running(); ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
  ~LoopbackHttpsServer() {
    server_.stop();
    thread_.join();
  }
  LoopbackHttpsServer(const LoopbackHttpsServer&) = delete;
  LoopbackHttpsServer& operator=(const LoopbackHttpsServer&) = delete;

  std::string BaseUrl(const std::string& host) const {
    return "https://" + host + ":" + std::to_string(port_);
  }
  int Requests() const { return requests_; }

 private:
  httplib::SSLServer server_;
  std::atomic<int> requests_{0};
  int port_ = 0;
  std::thread thread_;
};

struct TlsCase {
  const char* name;
  const char* host;
  bool verifyPeer;
  bool trustTheCertificate;  ///< give the certificate as the CA file
  bool succeeds;
};

const TlsCase kTlsCases[] = {
    {"DefaultsRefuseAnUntrustedCertificate", "127.0.0.1", true, false, false},
    {"TrustedCertificateIsAccepted", "127.0.0.1", true, true, true},
    {"TrustedCertificateForAnotherHostIsRefused", "localhost", true, true, false},
    {"VerificationTurnedOffAcceptsAnything", "127.0.0.1", false, false, true},
};

void PrintTo(const TlsCase& row, std::ostream* out) { *out << row.name; }

class TlsVerification : public ::testing::TestWithParam<TlsCase> {};

TEST_P(TlsVerification, SessionClientVerifiesCertificateAndHostUnlessTurnedOff) {
  const TlsCase& row = GetParam();
  LoopbackHttpsServer server;
  ClientOptions options;  // only the TLS settings differ from the defaults
  options.baseUrl = server.BaseUrl(row.host);
  options.retry.maxAttempts = 1;
  options.tls.verifyPeer = row.verifyPeer;
  if (row.trustTheCertificate) {
    options.tls.caFile = kCertificate;
  }

  const Outcome outcome = Client(options).Send(contracts::ApiVersionQuery()).GetStatus();

  EXPECT_EQ(outcome.Ok(), row.succeeds) << outcome.Message();
  EXPECT_EQ(server.Requests(), row.succeeds ? 1 : 0);
  if (!row.succeeds) {
    EXPECT_EQ(outcome.GetEvent(), Outcome::Event::Unreachable);
  }
}

INSTANTIATE_TEST_SUITE_P(Tls, TlsVerification, ::testing::ValuesIn(kTlsCases),
                         [](const ::testing::TestParamInfo<TlsCase>& info) {
                           return info.param.name;
                         });

TEST(TlsDefaults, EstablishedPostRefusesAnUntrustedCertificate) {
  LoopbackHttpsServer server;
  contracts::MessageContainer status;

  ::testing::internal::CaptureStderr();
  VrexClient::SendToServer(server.BaseUrl("127.0.0.1"), contracts::ApiVersionQuery(), status, "");
  const std::string errorOutput = ::testing::internal::GetCapturedStderr();

  EXPECT_EQ(status.codecategory(), enums::CodeCategory_Backend);
  EXPECT_EQ(server.Requests(), 0);
  EXPECT_THAT(errorOutput, ::testing::HasSubstr("certificate"));
}

}  // namespace
}  // namespace vrex::reliability
