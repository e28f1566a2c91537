#pragma once
// An nginx process that terminates TLS on 127.0.0.1 and passes every request
// on to a plain HTTP server, as a production gateway would. It runs as the
// current user from a configuration in a scratch directory (its own pid,
// error log and temporary paths) and is stopped with the object.

#include <filesystem>
#include <memory>
#include <string>

#include "ChildProcess.h"
#include "ThrowAwayPki.h"

namespace vrex::tls {

class HttpsFront {
 public:
  /// Starts nginx and returns once both ports accept connections; throws
  /// std::runtime_error with nginx's error log when it does not get there.
  HttpsFront(const std::string& nginx, const std::filesystem::path& directory,
             const ThrowAwayPki& pki, int upstreamPort);
  ~HttpsFront();
  HttpsFront(const HttpsFront&) = delete;
  HttpsFront& operator=(const HttpsFront&) = delete;

  /// "https://127.0.0.1:<port>": server certificate only.
  std::string BaseUrl() const;
  /// The same front, but a client certificate from the PKI's CA is required.
  std::string MutualTlsBaseUrl() const;
  /// The address with the host name "localhost", which the server
  /// certificate does not name.
  std::string LocalhostBaseUrl() const;

 private:
  bool TryStart(const std::string& nginx);
  void WriteConfig() const;
  std::string ErrorLog() const;

  std::filesystem::path directory_;
  const ThrowAwayPki& pki_;
  int upstreamPort_;
  int port_ = 0;
  int mutualPort_ = 0;
  std::unique_ptr<testing::ChildProcess> process_;
};

}  // namespace vrex::tls
