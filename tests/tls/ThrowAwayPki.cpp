#include "ThrowAwayPki.h"

#include <fstream>
#include <stdexcept>
#include <vector>

#include "ExternalProgram.h"

namespace vrex::tls {

namespace {

// Our own configuration, so that the system's openssl.cnf adds nothing.
constexpr const char* kConfig = R"([req]
distinguished_name = subject
prompt = no
[subject]
CN = unnamed
[ca]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[server]
basicConstraints = CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = serverAuth
subjectAltName = IP:127.0.0.1
[client]
basicConstraints = CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = clientAuth
)";

const std::vector<std::string> kNewKey = {"-newkey", "ec", "-pkeyopt",
                                          "ec_paramgen_curve:prime256v1", "-nodes"};

std::vector<std::string> Join(std::vector<std::string> first,
                              const std::vector<std::string>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

}  // namespace

ThrowAwayPki::ThrowAwayPki(const std::string& openssl, const std::filesystem::path& directory)
    : openssl_(openssl), directory_(directory), config_(directory / "pki.cnf") {
  std::ofstream(config_) << kConfig;
  ca_ = Make("ca", nullptr, 1);
  server_ = Make("server", &ca_, 2);
  client_ = Make("client", &ca_, 3);

  caDirectory_ = directory_ / "ca-directory";
  std::filesystem::create_directory(caDirectory_);
  std::filesystem::copy_file(ca_.certificate, caDirectory_ / "ca.pem");
  // libcurl finds a CA in a directory by the hash of its subject.
  RunProgram(openssl_, {"rehash", caDirectory_.string()});
}

KeyPair ThrowAwayPki::Make(const std::string& name, const KeyPair* issuer, int serial) const {
  const KeyPair made{directory_ / (name + ".pem"), directory_ / (name + ".key")};
  std::vector<std::string> signer;
  if (issuer != nullptr)
    signer = {"-CA", issuer->certificate.string(), "-CAkey", issuer->key.string()};
  RunProgram(openssl_,
             Join({"req", "-x509", "-config", config_.string(), "-extensions", name, "-subj",
                   "/CN=lVrexClient test " + name, "-set_serial", std::to_string(serial), "-days",
                   "2", "-keyout", made.key.string(), "-out", made.certificate.string()},
                  Join(kNewKey, signer)));
  return made;
}

}  // namespace vrex::tls
