#include "StaticAnswerServer.h"

#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "LoopbackPort.h"

namespace bench {

namespace {

constexpr const char* kNginx = "/usr/sbin/nginx";  // nginx-light, see scripts/setup.sh
constexpr int kReadinessPolls = 400;               // 10 s at most
constexpr std::chrono::milliseconds kPollInterval{25};

}  // namespace

StaticAnswerServer::StaticAnswerServer(const std::map<std::string, std::string>& answers)
    : port_(vrex::testing::FreeLoopbackPort()) {
  if (!std::filesystem::exists(kNginx)) {
    throw std::runtime_error(std::string(kNginx) + " is missing (scripts/setup.sh installs it)");
  }
  std::filesystem::create_directories(directory_.Path() / "api");
  std::filesystem::create_directories(directory_.Path() / "temp");
  for (const auto& [requestType, body] : answers) {
    directory_.Write("api/" + requestType, body);
  }
  WriteConfig();
  const std::string prefix = directory_.Path().string() + "/";
  process_ = std::make_unique<vrex::testing::ChildProcess>(
      kNginx, std::vector<std::string>{"-p", prefix, "-c", prefix + "nginx.conf", "-e",
                                       prefix + "error.log"});
  for (int poll = 0; poll < kReadinessPolls && !vrex::testing::AcceptsConnections(port_); ++poll) {
    if (process_->Wait(std::chrono::milliseconds(0))) break;  // it gave up, e.g. on a taken port
    std::this_thread::sleep_for(kPollInterval);
  }
  if (!vrex::testing::AcceptsConnections(port_)) {
    std::ifstream log(directory_.Path() / "error.log");
    std::ostringstream text;
    text << log.rdbuf();
    throw std::runtime_error("nginx did not start; its error log:\n" + text.str());
  }
}

StaticAnswerServer::~StaticAnswerServer() {
  process_->Signal(SIGTERM);
  process_->Wait(std::chrono::seconds(5));  // the ChildProcess kills it if it still runs
}

void StaticAnswerServer::WriteConfig() const {
  const std::string dir = directory_.Path().string();
  std::ofstream config(directory_.Path() / "nginx.conf");
  // One process in the foreground, so exactly one pid to stop. nginx refuses
  // POST on a file with 405; the error page turns that into the file.
  config << "daemon off;\nmaster_process off;\n"
         << "pid " << dir << "/nginx.pid;\n"
         << "events { worker_connections 64; }\n"
         << "http {\n  access_log off;\n"
         << "  client_body_temp_path " << dir << "/temp;\n"
         << "  default_type application/x-protobuf;\n"
         << "  server {\n    listen 127.0.0.1:" << port_ << ";\n"
         << "    root " << dir << ";\n"
         << "    location /api/ { error_page 405 =200 $uri; }\n  }\n}\n";
}

}  // namespace bench
