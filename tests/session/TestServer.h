#pragma once
// An HTTP server on 127.0.0.1 for what the stub server does not show: the
// connection each request came on, answers computed from the request, and
// answers broken off midway. Every "POST /api/<type>" is recorded, then
// answered by the test's handler.

#include <httplib.h>

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace vrex::testing {

class TestServer {
 public:
  using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

  explicit TestServer(Handler handler);
  ~TestServer();

  std::string BaseUrl() const;
  std::size_t RequestCount() const;
  /// The client ports seen: one per connection the client opened.
  std::set<int> RemotePorts() const;

 private:
  Handler handler_;
  httplib::Server server_;
  int port_ = 0;
  std::thread thread_;
  mutable std::mutex mutex_;
  std::vector<int> remotePorts_;  // one per request
};

/// "http://127.0.0.1:<port>" where nothing listens: connecting is refused.
std::string UnreachableUrl();

}  // namespace vrex::testing
