#pragma once
// One client connection of the stub server. Boost.Beast parses each request
// as it arrives; the head is kept byte for byte as it came. The server
// chooses the answer, and the connection writes it as its delivery says,
// within the server's limits. A connection lives on one event loop, run by
// one serving thread, so its work needs no lock; Close may be called from
// any thread.

#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "AnswerWriter.h"
#include "RequestParser.h"
#include "vrex/stub/JournalEntry.h"
#include "vrex/stub/StubServerOptions.h"

namespace vrex::stub {

class ConnectionRegistry;

/// Takes the answer to a request, from any thread.
using AnswerReady = std::function<void(std::shared_ptr<const CannedAnswer>)>;

/// The server side of a connection: chooses the answer to each request.
class RequestHandler {
 public:
  virtual ~RequestHandler() = default;
  /// Called on the connection's serving thread; gives
  /// the answer to `ready` at once, or later from another thread.
  virtual void Answer(JournalEntry request, AnswerReady ready) = 0;
};

/// What every connection of a server shares; outlives them all.
struct ConnectionContext {
  RequestHandler& handler;
  ConnectionRegistry& registry;
  const StubServerOptions& options;  ///< its log is set
};

class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
 public:
  using Socket = boost::asio::generic::stream_protocol::socket;

  /// Admits `socket` to the registry and serves it in its executor until
  /// the client closes or the server stops; closes it at once when refused.
  static void Serve(Socket socket, const ConnectionContext& context);

  HttpConnection(Socket socket, const ConnectionContext& context);
  ~HttpConnection();
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;

  void Close();

 private:
  enum class Watch { Request, Answer };
  using Step = void (HttpConnection::*)();

  void ReadRequest();
  void ReadMore();
  void OnRead(const boost::beast::error_code& error, std::size_t size);
  void Parse();
  void OnRequest();
  void Refuse(const boost::beast::error_code& error);
  void Answer(std::shared_ptr<const CannedAnswer> answer, bool keepAlive);
  void NextPiece();
  /// During a pause: closes the connection once the client has closed its end.
  void WatchForHangUp();
  void Write(const AnswerPiece& piece, Step then);
  void WritePending();
  void OnWritten(const boost::beast::error_code& error, std::size_t size);
  /// Closes the connection unless Disarm comes within `timeout`.
  void Arm(std::chrono::milliseconds timeout, Watch watch);
  void Disarm();
  void WatchDeadline();
  void OnTimeout();
  void CloseNow();
  void Log(const std::string& line) const;
  /// Runs `work`; a failure in it closes the connection instead of leaving
  /// the serving thread.
  template <typename Work>
  void Guarded(Work&& work) noexcept;

  Socket socket_;
  const ConnectionContext& context_;
  std::uint64_t id_ = 0;
  bool closed_ = false;
  boost::asio::steady_timer pause_;
  // One wait on the watchdog serves many Arm and Disarm calls: it only
  // wakes up when the deadline may have passed.
  boost::asio::steady_timer watchdog_;
  bool watching_ = false;
  std::chrono::steady_clock::time_point deadline_ = std::chrono::steady_clock::time_point::max();
  Watch watch_ = Watch::Request;
  boost::beast::flat_buffer buffer_;
  std::optional<RequestParser> parser_;
  std::optional<AnswerWriter> answer_;
  std::array<std::string_view, 3> pending_;  // bytes still to write
  Step afterWrite_ = nullptr;
};

}  // namespace vrex::stub
