#pragma once
// Certificates made for one test run with the openssl program: a CA that
// signs the server's certificate and a client certificate. Keys are P-256,
// made fresh each run and never leave the directory.

#include <filesystem>
#include <string>

namespace vrex::tls {

/// A certificate (PEM) and its private key (PEM).
struct KeyPair {
  std::filesystem::path certificate;
  std::filesystem::path key;
};

class ThrowAwayPki {
 public:
  /// Writes everything into `directory`; throws std::runtime_error when an
  /// openssl command fails.
  ThrowAwayPki(const std::string& openssl, const std::filesystem::path& directory);

  /// The CA that signed `server` and `client`.
  const std::filesystem::path& CaCertificate() const { return ca_.certificate; }
  /// A directory holding only CaCertificate(), under its subject-hash name.
  const std::filesystem::path& CaDirectory() const { return caDirectory_; }
  /// For 127.0.0.1 (and no host name).
  const KeyPair& Server() const { return server_; }
  /// A client certificate from the CA the server trusts for clients.
  const KeyPair& Client() const { return client_; }

 private:
  /// A certificate with the extensions of the configuration's section
  /// `name`, signed by `issuer` (by itself without one).
  KeyPair Make(const std::string& name, const KeyPair* issuer, int serial) const;

  std::string openssl_;
  std::filesystem::path directory_;
  std::filesystem::path config_;
  KeyPair ca_;
  KeyPair server_;
  KeyPair client_;
  std::filesystem::path caDirectory_;
};

}  // namespace vrex::tls
