// vrex::Client over HTTPS: an nginx front on 127.0.0.1 terminates TLS with
// certificates made for the run and passes requests on to the stub results
// server. Each case sets one TLS option of the client and checks what the
// call reports and whether the request reached the server behind the front.
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
};

// Names the case in ctest's listing instead of dumping its bytes.
void PrintTo(const TlsCase& tlsCase, std::ostream* out) { *out << tlsCase.name; }

// Everything the cases share, made once: certificates, stub, nginx.
struct TlsEnvironment {
  TlsEnvironment(const std::string& openssl, const std::string& nginx)
      : pki(openssl, scratch.Path()) {
    version.set_major(4);
    version.set_patch(7);
    stub.SetAnswerMessage("ApiVersionQuery", version);
    stub.Start();
    front = std::make_unique<HttpsFront>(nginx, scratch.Path(), pki, stub.Port());
  }

  testing::ScratchDirectory scratch;
  ThrowAwayPki pki;
  dc::VersionDTO version;
  stub::StubServer stub;
  std::unique_ptr<HttpsFront> front;
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
    environment_->stub.ClearJournal();
  }

  static std::string UrlOf(Address address) {
    const HttpsFront& front = *environment_->front;
    return address == Address::Plain       ? front.BaseUrl()
           : address == Address::MutualTls ? front.MutualTlsBaseUrl()
                                           : front.LocalhostBaseUrl();
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
  EXPECT_NE(outcome.Message().find(tlsCase.messagePart), std::string::npos)
      << "\"" << tlsCase.messagePart << "\" not in: " << outcome.Message();
  const auto journal = environment_->stub.Journal();
  if (tlsCase.expected == Outcome::Event::Succeeded) {
    EXPECT_EQ(result->SerializeAsString(), environment_->version.SerializeAsString());
    ASSERT_EQ(journal.size(), 1u);
    EXPECT_EQ(journal[0].body, query.SerializeAsString());
  } else {
    EXPECT_EQ(outcome.HttpStatus(), 0);
    EXPECT_EQ(outcome.Status().level(), en::Error);
    EXPECT_TRUE(journal.empty()) << "a rejected connection must not reach the server";
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

// One case per option that changes what the handshake accepts; nginx answers
// a request without a client certificate on the mutual-TLS port with 400.
const TlsCase kCases[] = {
    {"VerifiedWithTheTestCaFile", Address::Plain, true, Trust::TestCaFile, false, Event::Succeeded,
     "succeeded"},
    {"VerifiedWithTheTestCaDirectory", Address::Plain, true, Trust::TestCaDirectory, false,
     Event::Succeeded, "succeeded"},
    {"RejectedWithTheSystemCasOnly", Address::Plain, true, Trust::SystemOnly, false,
     Event::Unreachable, "SSL certificate problem"},
    {"AcceptedUnverifiedWhenVerifyIsOff", Address::Plain, false, Trust::SystemOnly, false,
     Event::Succeeded, "succeeded"},
    {"RejectedForAHostNameTheCertificateDoesNotName", Address::Localhost, true, Trust::TestCaFile,
     false, Event::Unreachable, "'localhost'"},
    {"HostNameUncheckedWhenVerifyIsOff", Address::Localhost, false, Trust::SystemOnly, false,
     Event::Succeeded, "succeeded"},
    {"MutualTlsAcceptsTheClientCertificate", Address::MutualTls, true, Trust::TestCaFile, true,
     Event::Succeeded, "succeeded"},
};

INSTANTIATE_TEST_SUITE_P(Cases, TlsClientTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<TlsCase>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace vrex::tls
