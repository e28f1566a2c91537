// vrex::Client over HTTPS: an HTTPS server on 127.0.0.1 in this process, with
// certificates made for the run, plays the results server. Each case sets one
// TLS option of the client and checks what the call reports, why, and whether
// the request reached the server.
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "ExternalProgram.h"
#include "ScratchDirectory.h"
#include "ThrowAwayPki.h"
#include "VersionDTO.pb.h"
#include "VrexClient.h"
#include "vrex/Client.h"

namespace vrex::tls {
namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

enum class Address { Plain, MutualTls, Localhost };
enum class Trust { SystemOnly, TestCaFile, TestCaDirectory };

struct TlsCase {
  const char* name;
  Address address;
  bool verifyPeer;
  Trust trust;
  bool clientCertificate;
  Outcome::Event expected;
  const char* messagePart;  // must appear in Outcome::Message()
  FailureCause cause = FailureCause::Unknown;
};

// Names the case in ctest's listing instead of dumping its bytes.
void PrintTo(const TlsCase& tlsCase, std::ostream* out) { *out << tlsCase.name; }

// Answers every request with `answer` and keeps the bodies it received. With
// `clientCa`, the handshake demands a client certificate issued by it, in
// TLS 1.2, which refuses a client without one within the handshake (1.3 after
// it, racing the request).
class HttpsServer {
 public:
  HttpsServer(const KeyPair& server, const std::filesystem::path* clientCa, std::string answer)
      : server_(server.certificate.c_str(), server.key.c_str(),
                clientCa != nullptr ? clientCa->c_str() : nullptr) {
    if (!server_.is_valid()) throw std::runtime_error("the HTTPS server rejects its certificate");
    if (clientCa != nullptr) SSL_CTX_set_max_proto_version(server_.ssl_context(), TLS1_2_VERSION);
    server_.Post(".*",
                 [this, answer](const httplib::Request& request, httplib::Response& response) {
                   const std::lock_guard lock(mutex_);
                   bodies_.push_back(request.body);
                   response.set_content(answer, "application/x-protobuf");
                 });
    // The handshake waits on reads; httplib's 5 s is too short for a
    // sanitizer build on a busy machine.
    server_.set_read_timeout(60, 0);
    server_.set_write_timeout(60, 0);
    port_ = server_.bind_to_any_port("127.0.0.1");  // listens from here on
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    // stop() does nothing before the accept loop runs; wait for it, bounded.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!server_.is_running() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::yield();
    }
  }
  ~HttpsServer() {
    server_.stop();
    thread_.join();
  }
  HttpsServer(const HttpsServer&) = delete;
  HttpsServer& operator=(const HttpsServer&) = delete;

  std::string BaseUrl(const std::string& host = "127.0.0.1") const {
    return "https://" + host + ":" + std::to_string(port_);
  }
  std::vector<std::string> TakeBodies() {
    const std::lock_guard lock(mutex_);
    return std::exchange(bodies_, {});
  }

 private:
  httplib::SSLServer server_;
  int port_ = 0;
  std::mutex mutex_;
  std::vector<std::string> bodies_;
  std::thread thread_;
};

// Everything the cases share, made once: certificates and the two servers.
struct TlsEnvironment {
  explicit TlsEnvironment(const std::string& openssl) : pki(openssl, scratch.Path()) {
    version.set_major(4);
    version.set_patch(7);
    const std::filesystem::path ca = pki.CaCertificate();
    plain = std::make_unique<HttpsServer>(pki.Server(), nullptr, version.SerializeAsString());
    mutual = std::make_unique<HttpsServer>(pki.Server(), &ca, version.SerializeAsString());
  }

  testing::ScratchDirectory scratch;
  ThrowAwayPki pki;
  dc::VersionDTO version;
  std::unique_ptr<HttpsServer> plain;
  std::unique_ptr<HttpsServer> mutual;
};

class TlsClientTest : public ::testing::TestWithParam<TlsCase> {
 public:
  static void SetUpTestSuite() {
    const auto openssl = FindProgram("openssl");
    if (!openssl) {
      skipReason_ = "openssl is not installed (the set-up script installs it)";
      return;
    }
    try {
      environment_ = new TlsEnvironment(*openssl);
    } catch (const std::exception& error) {
      setUpError_ = error.what();
    }
  }
  static void TearDownTestSuite() {
    delete environment_;
    environment_ = nullptr;
  }

 protected:
  void SetUp() override {
    if (!skipReason_.empty()) GTEST_SKIP() << skipReason_;
    ASSERT_NE(environment_, nullptr) << setUpError_;
    environment_->plain->TakeBodies();
    environment_->mutual->TakeBodies();
  }

  static HttpsServer& ServerOf(Address address) {
    return address == Address::MutualTls ? *environment_->mutual : *environment_->plain;
  }
  static std::string UrlOf(Address address) {
    // The server's certificate names 127.0.0.1 only.
    return ServerOf(address).BaseUrl(address == Address::Localhost ? "localhost" : "127.0.0.1");
  }

  static ClientOptions OptionsFor(const TlsCase& tlsCase) {
    const ThrowAwayPki& pki = environment_->pki;
    ClientOptions options;
    options.baseUrl = UrlOf(tlsCase.address);
    options.proxy = "";  // whatever the environment says, straight to 127.0.0.1
    options.retry.maxAttempts = 1;
    options.tls.verifyPeer = tlsCase.verifyPeer;
    if (tlsCase.trust == Trust::TestCaFile) options.tls.caFile = pki.CaCertificate().string();
    if (tlsCase.trust == Trust::TestCaDirectory) {
      options.tls.caDirectory = pki.CaDirectory().string();
    }
    if (tlsCase.clientCertificate) {
      options.tls.clientCertificate = pki.Client().certificate.string();
      options.tls.clientKey = pki.Client().key.string();
    }
    return options;
  }

  static inline TlsEnvironment* environment_ = nullptr;
  static inline std::string skipReason_;
  static inline std::string setUpError_;
};

TEST_P(TlsClientTest, ReportsTheOutcomeOfTheHandshake) {
  const TlsCase& tlsCase = GetParam();
  const Client client(OptionsFor(tlsCase));
  dc::ApiVersionQuery query;
  query.set_factory("Plant-North");

  const auto result = client.Send(query);

  const Outcome& outcome = result.GetStatus();
  EXPECT_EQ(outcome.GetEvent(), tlsCase.expected) << outcome.Message();
  EXPECT_EQ(outcome.Cause(), tlsCase.cause) << outcome.Message();
  EXPECT_NE(outcome.Message().find(tlsCase.messagePart), std::string::npos)
      << "\"" << tlsCase.messagePart << "\" not in: " << outcome.Message();
  const std::vector<std::string> received = ServerOf(tlsCase.address).TakeBodies();
  if (tlsCase.expected == Outcome::Event::Succeeded) {
    EXPECT_EQ(result->SerializeAsString(), environment_->version.SerializeAsString());
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0], query.SerializeAsString());
  } else {
    EXPECT_EQ(outcome.HttpStatus(), 0);
    EXPECT_EQ(outcome.Status().level(), en::Error);
    EXPECT_TRUE(received.empty()) << "a rejected connection must not reach the server";
  }

  // Where the options are libcurl's defaults, the established client, which
  // sets no TLS option, must come to the same status.
  if (tlsCase.verifyPeer && tlsCase.trust == Trust::SystemOnly && !tlsCase.clientCertificate) {
    dc::MessageContainer status;
    ::testing::internal::CaptureStderr();
    VrexClient::SendToServer(UrlOf(tlsCase.address), query, status, "");
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(status.SerializeAsString(), outcome.Status().SerializeAsString());
  }
}

using Event = Outcome::Event;

// One case per option that changes what the handshake accepts.
const TlsCase kCases[] = {
    {"VerifiedWithTheTestCaFile", Address::Plain, true, Trust::TestCaFile, false, Event::Succeeded,
     "succeeded"},
    {"VerifiedWithTheTestCaDirectory", Address::Plain, true, Trust::TestCaDirectory, false,
     Event::Succeeded, "succeeded"},
    {"RejectedWithTheSystemCasOnly", Address::Plain, true, Trust::SystemOnly, false,
     Event::Unreachable, "SSL certificate problem", FailureCause::CertificateRejected},
    {"AcceptedUnverifiedWhenVerifyIsOff", Address::Plain, false, Trust::SystemOnly, false,
     Event::Succeeded, "succeeded"},
    {"RejectedForAHostNameTheCertificateDoesNotName", Address::Localhost, true, Trust::TestCaFile,
     false, Event::Unreachable, "'localhost'", FailureCause::CertificateRejected},
    {"HostNameUncheckedWhenVerifyIsOff", Address::Localhost, false, Trust::SystemOnly, false,
     Event::Succeeded, "succeeded"},
    {"MutualTlsAcceptsTheClientCertificate", Address::MutualTls, true, Trust::TestCaFile, true,
     Event::Succeeded, "succeeded"},
    {"MutualTlsRefusesAClientWithoutCertificate", Address::MutualTls, true, Trust::TestCaFile,
     false, Event::Unreachable, "alert handshake failure", FailureCause::TlsFailed},
};

INSTANTIATE_TEST_SUITE_P(Cases, TlsClientTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<TlsCase>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace vrex::tls
