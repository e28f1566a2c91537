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
  ca_ = MakeCa("ca");
  server_ = MakeLeaf("server", "server", ca_, 2);
  client_ = MakeLeaf("client", "client", ca_, 3);

  caDirectory_ = directory_ / "ca-directory";
  std::filesystem::create_directory(caDirectory_);
  std::filesystem::copy_file(ca_.certificate, caDirectory_ / "ca.pem");
  // libcurl finds a CA in a directory by the hash of its subject.
  RunProgram(openssl_, {"rehash", caDirectory_.string()});
}

KeyPair ThrowAwayPki::MakeCa(const std::string& name) const {
  const KeyPair ca{directory_ / (name + ".pem"), directory_ / (name + ".key")};
  RunProgram(openssl_, Join({"req", "-x509", "-config", config_.string(), "-extensions", "ca",
                             "-subj", "/CN=lVrexClient test " + name, "-days", "2", "-keyout",
                             ca.key.string(), "-out", ca.certificate.string()},
                            kNewKey));
  return ca;
}

KeyPair ThrowAwayPki::MakeLeaf(const std::string& name, const std::string& extensions,
                               const KeyPair& ca, int serial) const {
  const KeyPair leaf{directory_ / (name + ".pem"), directory_ / (name + ".key")};
  const std::string request = (directory_ / (name + ".csr")).string();
  RunProgram(openssl_,
             Join({"req", "-new", "-config", config_.string(), "-subj",
                   "/CN=lVrexClient test " + name, "-keyout", leaf.key.string(), "-out", request},
                  kNewKey));
  RunProgram(openssl_,
             {"x509", "-req", "-in", request, "-CA", ca.certificate.string(), "-CAkey",
              ca.key.string(), "-set_serial", std::to_string(serial), "-days", "2", "-extfile",
              config_.string(), "-extensions", extensions, "-out", leaf.certificate.string()});
  return leaf;
}

}  // namespace vrex::tls
