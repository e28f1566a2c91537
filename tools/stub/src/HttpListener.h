#pragma once
// The serving side of a running stub server: a listening socket, one event
// loop per serving thread, and the connections they serve, spread over the
// loops in turn. A connection stays on its loop, so none of its work hops
// between threads. Built by Start and destroyed by Stop; destroying it ends
// every connection, pauses and endless answers included.

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "ConnectionRegistry.h"
#include "HttpConnection.h"
#include "vrex/stub/StubServerOptions.h"

namespace vrex::stub {

class HttpListener {
 public:
  /// Listens on `options.host` and `options.port` and serves on
  /// `options.threads` threads. Throws std::runtime_error when the address
  /// cannot be bound. `options.log` must be set.
  HttpListener(const StubServerOptions& options, RequestHandler& handler);
  ~HttpListener();
  HttpListener(const HttpListener&) = delete;
  HttpListener& operator=(const HttpListener&) = delete;

  int Port() const { return port_; }
  ConnectionRegistry& Connections() { return registry_; }
  /// Serves a connected socket on the calling thread until it closes.
  void Serve(int socket);

 private:
  class CallerLoop;

  void Accept();

  const StubServerOptions options_;
  ConnectionRegistry registry_;  // outlives the connections, which the event loops own
  const ConnectionContext context_;
  std::vector<std::unique_ptr<boost::asio::io_context>> loops_;
  std::vector<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> working_;
  std::size_t nextLoop_ = 1;  // loops_[0] accepts; the others serve
  boost::asio::ip::tcp::acceptor acceptor_;
  HttpConnection::Socket accepted_;  // the socket the next accept fills
  boost::asio::steady_timer acceptPause_;
  int port_ = 0;
  std::vector<std::thread> threads_;

  std::mutex callersMutex_;
  std::condition_variable callersDone_;
  std::set<boost::asio::io_context*> callerLoops_;  // event loops of Serve's callers
};

}  // namespace vrex::stub
