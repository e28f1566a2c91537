#include "TestServer.h"

#include <chrono>
#include <stdexcept>

namespace vrex::testing {

TestServer::TestServer(Handler handler) : handler_(std::move(handler)) {
  // Without these httplib closes a kept-alive connection after five requests
  // and delayed acknowledgements stall every call by 40 ms.
  server_.set_tcp_nodelay(true);
  server_.set_keep_alive_max_count(100000);
  server_.Post(R"(/api/\w+)", [this](const httplib::Request& request, httplib::Response& response) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      remotePorts_.push_back(request.remote_port);
    }
    handler_(request, response);
  });
  port_ = server_.bind_to_any_port("127.0.0.1");
  if (port_ <= 0) {
    throw std::runtime_error("test server cannot bind to 127.0.0.1");
  }
  thread_ = std::thread([this] { server_.listen_after_bind(); });
  for (int i = 0; i < 500 && !server_.is_running(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

TestServer::~TestServer() {
  server_.stop();
  thread_.join();
}

std::string TestServer::BaseUrl() const { return "http://127.0.0.1:" + std::to_string(port_); }

std::size_t TestServer::RequestCount() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return remotePorts_.size();
}

std::set<int> TestServer::RemotePorts() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return {remotePorts_.begin(), remotePorts_.end()};
}

std::string UnreachableUrl() {
  // The port of a server that has stopped again.
  return TestServer([](const httplib::Request&, httplib::Response&) {}).BaseUrl();
}

}  // namespace vrex::testing
