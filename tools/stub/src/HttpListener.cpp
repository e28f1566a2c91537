#include "HttpListener.h"

#include <sys/socket.h>

#include <algorithm>
#include <boost/asio/ip/tcp.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace vrex::stub {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

// After a failed accept (say, no file descriptor left), before the next try.
constexpr std::chrono::milliseconds kAcceptPause{50};

tcp::endpoint ResolveEndpoint(asio::io_context& events, const StubServerOptions& options) {
  boost::system::error_code error;
  tcp::resolver resolver(events);
  const auto found =
      resolver.resolve(options.host, std::to_string(options.port), tcp::resolver::passive, error);
  if (error || found.empty()) {
    throw std::runtime_error("vrex-stub: cannot listen on " + options.host + ":" +
                             std::to_string(options.port) + " (" + error.message() + ")");
  }
  return found.begin()->endpoint();
}

void Bind(tcp::acceptor& acceptor, const tcp::endpoint& endpoint,
          const StubServerOptions& options) {
  boost::system::error_code error;
  acceptor.open(endpoint.protocol(), error);
  // Address reuse allows a quick restart; port reuse, which would let a
  // second server take a port in use, stays off.
  if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) acceptor.bind(endpoint, error);
  if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
  if (error) {
    throw std::runtime_error("vrex-stub: cannot listen on " + options.host + ":" +
                             std::to_string(options.port) + " (" + error.message() + ")");
  }
}

/// Runs an event loop until it is stopped or runs out of work. A failure
/// that escapes a handler is logged and the loop goes on.
void RunEvents(asio::io_context& events, const LogSink& log) {
  for (;;) {
    try {
      events.run();
      return;
    } catch (const std::exception& error) {
      log(std::string("a serving thread survived a failure: ") + error.what());
    } catch (...) {
      log("a serving thread survived an unknown failure");
    }
  }
}

asio::generic::stream_protocol ProtocolOf(int socket) {
  int family = AF_UNIX;
  int protocol = 0;
  socklen_t size = sizeof family;
  ::getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size);
  size = sizeof protocol;
  ::getsockopt(socket, SOL_SOCKET, SO_PROTOCOL, &protocol, &size);
  return {family, protocol};
}

std::vector<std::unique_ptr<asio::io_context>> MakeLoops(std::size_t count) {
  std::vector<std::unique_ptr<asio::io_context>> loops;
  for (std::size_t i = 0; i < std::max<std::size_t>(count, 1); ++i) {
    loops.push_back(std::make_unique<asio::io_context>(1));
  }
  return loops;
}

}  // namespace

HttpListener::HttpListener(const StubServerOptions& options, RequestHandler& handler)
    : options_(options),
      registry_(options_.maxConnections, options_.log),
      context_{handler, registry_, options_},
      // The first loop only accepts, so that a responder that blocks the
      // loop of its connection never keeps new connections out.
      loops_(MakeLoops(std::max<std::size_t>(options_.threads, 1) + 1)),
      acceptor_(*loops_.front()),
      accepted_(*loops_[1]),
      acceptPause_(*loops_.front()) {
  const tcp::endpoint endpoint = ResolveEndpoint(*loops_.front(), options_);
  Bind(acceptor_, endpoint, options_);
  if (!endpoint.address().is_loopback()) {
    options_.log("listening on " + endpoint.address().to_string() +
                 ", not a loopback address: other machines reach this server" +
                 (options_.allowRemoteAdmin ? ", its admin API included" : ""));
  }
  port_ = acceptor_.local_endpoint().port();
  Accept();
  for (auto& loop : loops_) {
    // Keeps the loop running while it has nothing to do, until Stop.
    working_.push_back(asio::make_work_guard(*loop));
    threads_.emplace_back([this, &loop = *loop] { RunEvents(loop, options_.log); });
  }
}

HttpListener::~HttpListener() {
  for (auto& loop : loops_) {
    loop->stop();
  }
  {
    std::unique_lock lock(callersMutex_);
    for (asio::io_context* loop : callerLoops_) {
      loop->stop();
    }
    callersDone_.wait(lock, [this] { return callerLoops_.empty(); });
  }
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

void HttpListener::Accept() {
  acceptor_.async_accept(accepted_, [this](const boost::system::error_code& error) {
    if (error == asio::error::operation_aborted) {
      return;
    }
    if (error) {
      options_.log("accepting a connection failed: " + error.message());
      acceptPause_.expires_after(kAcceptPause);
      acceptPause_.async_wait([this](const boost::system::error_code& paused) {
        if (!paused) Accept();
      });
      return;
    }
    boost::system::error_code ignored;
    // Without it an answer's last bytes wait for the client's delayed acknowledgement.
    accepted_.set_option(tcp::no_delay(true), ignored);
    HttpConnection::Serve(std::move(accepted_), context_);
    nextLoop_ = nextLoop_ % (loops_.size() - 1) + 1;  // the serving loops, 1 to threads
    accepted_ = HttpConnection::Socket(*loops_[nextLoop_]);
    Accept();
  });
}

/// The event loop of a caller of Serve, which Stop stops and waits for.
class HttpListener::CallerLoop {
 public:
  explicit CallerLoop(HttpListener& listener) : listener_(listener) {
    loop_.emplace(1);
    const std::lock_guard lock(listener_.callersMutex_);
    listener_.callerLoops_.insert(&*loop_);
  }
  ~CallerLoop() {
    asio::io_context* const key = &*loop_;
    loop_.reset();  // ends the connection, which the registry hears of
    {
      const std::lock_guard lock(listener_.callersMutex_);
      listener_.callerLoops_.erase(key);
    }
    listener_.callersDone_.notify_all();
  }
  CallerLoop(const CallerLoop&) = delete;
  CallerLoop& operator=(const CallerLoop&) = delete;

  asio::io_context& Events() { return *loop_; }

 private:
  HttpListener& listener_;
  std::optional<asio::io_context> loop_;
};

void HttpListener::Serve(int socket) {
  CallerLoop caller(*this);
  HttpConnection::Serve(HttpConnection::Socket(caller.Events(), ProtocolOf(socket), socket),
                        context_);
  RunEvents(caller.Events(), options_.log);
}

}  // namespace vrex::stub
