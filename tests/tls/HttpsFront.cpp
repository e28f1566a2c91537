#include "HttpsFront.h"

#include <signal.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "LoopbackPort.h"

namespace vrex::tls {

namespace {

using std::chrono::milliseconds;

constexpr int kStartAttempts = 3;     // a port found free may be taken meanwhile
constexpr int kReadinessPolls = 400;  // of kPollInterval each: 10 s at most
constexpr milliseconds kPollInterval{25};

}  // namespace

HttpsFront::HttpsFront(const std::string& nginx, const std::filesystem::path& directory,
                       const ThrowAwayPki& pki, int upstreamPort)
    : directory_(directory), pki_(pki), upstreamPort_(upstreamPort) {
  for (const auto& path : {"body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
    std::filesystem::create_directories(directory_ / "temp" / path);
  }
  for (int attempt = 0; attempt < kStartAttempts; ++attempt) {
    if (TryStart(nginx)) return;
  }
  throw std::runtime_error("nginx did not start; its error log:\n" + ErrorLog());
}

HttpsFront::~HttpsFront() {
  process_->Signal(SIGTERM);
  process_->Wait(std::chrono::seconds(5));  // the ChildProcess kills it if it still runs
}

bool HttpsFront::TryStart(const std::string& nginx) {
  port_ = testing::FreeLoopbackPort();
  mutualPort_ = testing::FreeLoopbackPort();
  WriteConfig();
  const std::string prefix = directory_.string() + "/";
  process_ = std::make_unique<testing::ChildProcess>(
      nginx, std::vector<std::string>{"-p", prefix, "-c", prefix + "nginx.conf", "-e",
                                      prefix + "error.log"});
  for (int poll = 0; poll < kReadinessPolls; ++poll) {
    if (testing::AcceptsConnections(port_) && testing::AcceptsConnections(mutualPort_)) return true;
    if (process_->Wait(milliseconds(0))) return false;  // it gave up, e.g. on a taken port
    std::this_thread::sleep_for(kPollInterval);
  }
  process_.reset();
  return false;
}

void HttpsFront::WriteConfig() const {
  const std::string dir = directory_.string();
  const std::string upstream = "http://127.0.0.1:" + std::to_string(upstreamPort_);
  const std::string certificates = "    ssl_certificate " + pki_.Server().certificate.string() +
                                   ";\n    ssl_certificate_key " + pki_.Server().key.string() +
                                   ";\n";
  const std::string proxy = "    location / {\n      proxy_pass " + upstream +
                            ";\n      proxy_http_version 1.1;\n"
                            "      proxy_set_header Connection \"\";\n    }\n";
  std::ofstream config(directory_ / "nginx.conf");
  // In the foreground and in one process, so the test owns exactly one pid.
  config << "daemon off;\nmaster_process off;\n"
         << "pid " << dir << "/nginx.pid;\n"
         << "error_log " << dir << "/error.log info;\n"
         << "events { worker_connections 64; }\n"
         << "http {\n  access_log off;\n"
         << "  client_body_temp_path " << dir << "/temp/body;\n"
         << "  proxy_temp_path " << dir << "/temp/proxy;\n"
         << "  fastcgi_temp_path " << dir << "/temp/fastcgi;\n"
         << "  uwsgi_temp_path " << dir << "/temp/uwsgi;\n"
         << "  scgi_temp_path " << dir << "/temp/scgi;\n"
         << "  server {\n    listen 127.0.0.1:" << port_ << " ssl;\n"
         << certificates << proxy << "  }\n"
         << "  server {\n    listen 127.0.0.1:" << mutualPort_ << " ssl;\n"
         << certificates << "    ssl_client_certificate " << pki_.CaCertificate().string()
         << ";\n    ssl_verify_client on;\n"
         << proxy << "  }\n}\n";
}

std::string HttpsFront::ErrorLog() const {
  std::ifstream log(directory_ / "error.log");
  std::ostringstream text;
  text << log.rdbuf();
  return text.str();
}

std::string HttpsFront::BaseUrl() const { return "https://127.0.0.1:" + std::to_string(port_); }

std::string HttpsFront::MutualTlsBaseUrl() const {
  return "https://127.0.0.1:" + std::to_string(mutualPort_);
}

std::string HttpsFront::LocalhostBaseUrl() const {
  return "https://localhost:" + std::to_string(port_);
}

}  // namespace vrex::tls
