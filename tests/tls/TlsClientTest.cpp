// vrex::Client over HTTPS: an nginx front on 127.0.0.1 terminates TLS with
// certificates made for the run and passes requests on to the stub results
// server. Each case sets the TLS options one way and checks what the call
// reports and whether the request reached the server behind the front.
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

#include "ApiVersionQuery.pb.h"
#include "ExternalProgram.h"
#include "HttpsFront.h"
#include "ScratchDirectory.h"
#include "ThrowAwayPki.h"
#include "VersionDTO.pb.h"
#include "VrexClient.h"
#include "vrex/Client.h"
#include "vrex/stub/StubServer.h"

namespace vrex::tls_test {
namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

enum class Address { Plain, MutualTls, Localhost };
enum class Trust { SystemOnly, TestCaFile, OtherCaFile, TestCaDirectory };
enum class ClientCertificate { None, FromTestCa, FromOtherCa, MissingFile };

struct TlsCase {
  const char* name;
  Address address;
  bool verifyPeer;
  Trust trust;
  ClientCertificate clientCertificate;
  Outcome::Event expected;
  int expectedStatus;       // HTTP status the call reports
  const char* messagePart;  // must appear in Outcome::Message()
};

// Names the case in ctest's listing instead of dumping its bytes.
void PrintTo(const TlsCase& tlsCase, std::ostream* out) { *out << tlsCase.name; }

// Everything the cases share, made once: certificates, stub, nginx.
class TlsEnvironment {
 public:
  TlsEnvironment(const std::string& openssl, const std::string& nginx)
      : pki_(openssl, scratch_.Path()) {
    version_.set_major(4);
    version_.set_minor(2);
    version_.set_patch(7);
    stub_.SetAnswerMessage("ApiVersionQuery", version_);
    stub_.Start();
    front_ = std::make_unique<HttpsFront>(nginx, scratch_.Path(), pki_, stub_.Port());
  }

  const ThrowAwayPki& Pki() const { return pki_; }
  stub::StubServer& Stub() { return stub_; }
  const HttpsFront& Front() const { return *front_; }
  const dc::VersionDTO& Version() const { return version_; }

 private:
  testing::ScratchDirectory scratch_;
  ThrowAwayPki pki_;
  dc::VersionDTO version_;
  stub::StubServer stub_;
  std::unique_ptr<HttpsFront> front_;
};

class TlsClientTest : public ::testing::TestWithParam<TlsCase> {
 public:
  static void SetUpTestSuite() {
    const auto openssl = FindProgram("openssl");
    const auto nginx = FindProgram("nginx");
    if (!openssl || !nginx) {
      skipReason_ = std::string(!openssl ? "openssl" : "nginx") +
                    " is not installed (the set-up script installs it)";
      return;
    }
    try {
      environment_ = new TlsEnvironment(*openssl, *nginx);
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
    environment_->Stub().ClearJournal();
  }

  static std::string UrlOf(Address address) {
    const HttpsFront& front = environment_->Front();
    switch (address) {
      case Address::Plain:
        return front.BaseUrl();
      case Address::MutualTls:
        return front.MutualTlsBaseUrl();
      case Address::Localhost:
        return front.LocalhostBaseUrl();
    }
    return {};
  }

  static ClientOptions OptionsFor(const TlsCase& tlsCase) {
    const ThrowAwayPki& pki = environment_->Pki();
    ClientOptions options;
    options.baseUrl = UrlOf(tlsCase.address);
    options.proxy = "";  // whatever the environment says, straight to 127.0.0.1
    options.retry.maxAttempts = 1;
    options.tls.verifyPeer = tlsCase.verifyPeer;
    switch (tlsCase.trust) {
      case Trust::SystemOnly:
        break;
      case Trust::TestCaFile:
        options.tls.caFile = pki.CaCertificate().string();
        break;
      case Trust::OtherCaFile:
        options.tls.caFile = pki.OtherCaCertificate().string();
        break;
      case Trust::TestCaDirectory:
        options.tls.caDirectory = pki.CaDirectory().string();
        break;
    }
    switch (tlsCase.clientCertificate) {
      case ClientCertificate::None:
        break;
      case ClientCertificate::FromTestCa:
        options.tls.clientCertificate = pki.Client().certificate.string();
        options.tls.clientKey = pki.Client().key.string();
        break;
      case ClientCertificate::FromOtherCa:
        options.tls.clientCertificate = pki.StrangerClient().certificate.string();
        options.tls.clientKey = pki.StrangerClient().key.string();
        break;
      case ClientCertificate::MissingFile:
        options.tls.clientCertificate =
            (pki.Client().certificate.parent_path() / "absent.pem").string();
        options.tls.clientKey = pki.Client().key.string();
        break;
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
  EXPECT_EQ(outcome.HttpStatus(), tlsCase.expectedStatus) << outcome.Message();
  EXPECT_NE(outcome.Message().find(tlsCase.messagePart), std::string::npos)
      << "\"" << tlsCase.messagePart << "\" not in: " << outcome.Message();
  const auto journal = environment_->Stub().Journal();
  if (tlsCase.expected == Outcome::Event::Succeeded) {
    EXPECT_EQ(result->SerializeAsString(), environment_->Version().SerializeAsString());
    ASSERT_EQ(journal.size(), 1u);
    EXPECT_EQ(journal[0].path, "/api/ApiVersionQuery");
    EXPECT_EQ(journal[0].body, query.SerializeAsString());
  } else {
    EXPECT_EQ(outcome.Status().level(), en::Error);
    EXPECT_EQ(result->ByteSizeLong(), 0u);
    EXPECT_TRUE(journal.empty()) << "a rejected connection must not reach the server";
  }

  // Where the options are libcurl's defaults, the established client, which
  // sets no TLS option, must come to the same status.
  if (tlsCase.verifyPeer && tlsCase.trust == Trust::SystemOnly &&
      tlsCase.clientCertificate == ClientCertificate::None) {
    dc::MessageContainer status;
    ::testing::internal::CaptureStderr();
    VrexClient::SendToServer(UrlOf(tlsCase.address), query, status, "");
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(status.SerializeAsString(), outcome.Status().SerializeAsString());
  }
}

using Event = Outcome::Event;

// nginx answers a missing or untrusted client certificate with status 400
// after the handshake; a certificate the client cannot load fails before.
const TlsCase kCases[] = {
    {"VerifiedWithTheTestCaFile", Address::Plain, true, Trust::TestCaFile, ClientCertificate::None,
     Event::Succeeded, 200, "succeeded"},
    {"VerifiedWithTheTestCaDirectory", Address::Plain, true, Trust::TestCaDirectory,
     ClientCertificate::None, Event::Succeeded, 200, "succeeded"},
    {"RejectedWithTheSystemCasOnly", Address::Plain, true, Trust::SystemOnly,
     ClientCertificate::None, Event::Unreachable, 0, "SSL certificate problem"},
    {"RejectedWithAnotherCaFile", Address::Plain, true, Trust::OtherCaFile, ClientCertificate::None,
     Event::Unreachable, 0, "SSL certificate problem"},
    {"AcceptedUnverifiedWhenVerifyIsOff", Address::Plain, false, Trust::SystemOnly,
     ClientCertificate::None, Event::Succeeded, 200, "succeeded"},
    {"RejectedForAHostNameTheCertificateDoesNotName", Address::Localhost, true, Trust::TestCaFile,
     ClientCertificate::None, Event::Unreachable, 0, "'localhost'"},
    {"HostNameUncheckedWhenVerifyIsOff", Address::Localhost, false, Trust::SystemOnly,
     ClientCertificate::None, Event::Succeeded, 200, "succeeded"},
    {"MutualTlsRefusedWithoutClientCertificate", Address::MutualTls, true, Trust::TestCaFile,
     ClientCertificate::None, Event::HttpStatusFailed, 400, "ApiPipeline_Unauthorized"},
    {"MutualTlsAcceptsTheClientCertificate", Address::MutualTls, true, Trust::TestCaFile,
     ClientCertificate::FromTestCa, Event::Succeeded, 200, "succeeded"},
    {"MutualTlsRefusesACertificateFromAnotherCa", Address::MutualTls, true, Trust::TestCaFile,
     ClientCertificate::FromOtherCa, Event::HttpStatusFailed, 400, "ApiPipeline_Unauthorized"},
    {"MissingClientCertificateFileFailsTheTransfer", Address::MutualTls, true, Trust::TestCaFile,
     ClientCertificate::MissingFile, Event::Unreachable, 0, "client certificate"},
};

INSTANTIATE_TEST_SUITE_P(Cases, TlsClientTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<TlsCase>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace vrex::tls_test
