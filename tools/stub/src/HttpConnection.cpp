#include "HttpConnection.h"

#include <sys/socket.h>

#include <algorithm>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/execution/outstanding_work.hpp>
#include <boost/asio/prefer.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/http/error.hpp>
#include <cerrno>
#include <exception>
#include <utility>

#include "ConnectionRegistry.h"
#include "vrex/data/Text.h"

namespace vrex::stub {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;

// Far beyond any request head a client sends; the bound keeps a head
// without end from growing the buffer.
constexpr std::uint32_t kHeadLimit = 64 * 1024;
constexpr std::size_t kReadSize = 16 * 1024;
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

std::string Milliseconds(std::chrono::milliseconds time) {
  return std::to_string(time.count()) + " ms";
}

}  // namespace

void HttpConnection::Serve(Socket socket, const ConnectionContext& context) {
  auto connection = std::make_shared<HttpConnection>(std::move(socket), context);
  connection->id_ = context.registry.Open(connection);
  if (connection->id_ == 0) {
    connection->CloseNow();
    return;
  }
  asio::dispatch(connection->socket_.get_executor(),
                 [connection] { connection->Guarded([&] { connection->ReadRequest(); }); });
}

HttpConnection::HttpConnection(Socket socket, const ConnectionContext& context)
    : socket_(std::move(socket)),
      context_(context),
      pause_(socket_.get_executor()),
      watchdog_(socket_.get_executor()) {}

HttpConnection::~HttpConnection() {
  if (id_ != 0) {
    context_.registry.Closed(id_);
  }
}

void HttpConnection::Close() {
  asio::post(socket_.get_executor(), [self = shared_from_this()] { self->CloseNow(); });
}

template <typename Work>
void HttpConnection::Guarded(Work&& work) noexcept {
  try {
    work();
  } catch (const std::exception& error) {
    try {
      Log(std::string("closing after a failure: ") + error.what());
    } catch (...) {  // nothing more to be done
    }
    CloseNow();
  } catch (...) {
    CloseNow();
  }
}

void HttpConnection::Log(const std::string& line) const {
  context_.options.log("connection " + std::to_string(id_) + ": " + line);
}

void HttpConnection::ReadRequest() {
  parser_.emplace();
  parser_->header_limit(kHeadLimit);
  parser_->body_limit(context_.options.maxRequestBytes);
  context_.registry.SetWaiting(id_, true);
  Arm(context_.options.readTimeout, Watch::Request);
  Parse();
}

void HttpConnection::ReadMore() {
  socket_.async_read_some(
      buffer_.prepare(kReadSize),
      [self = shared_from_this()](const beast::error_code& error, std::size_t size) {
        self->Guarded([&] { self->OnRead(error, size); });
      });
}

void HttpConnection::OnRead(const beast::error_code& error, std::size_t size) {
  buffer_.commit(size);
  if (error) {
    CloseNow();  // the client closed or went away; a partial request is dropped
    return;
  }
  Parse();
}

void HttpConnection::Parse() {
  while (!parser_->is_done()) {
    if (buffer_.size() == 0) {
      ReadMore();
      return;
    }
    const bool headWasDone = parser_->is_header_done();
    beast::error_code error;
    const std::size_t used = parser_->put(buffer_.data(), error);
    if (!headWasDone) {
      parser_->Request().head.append(static_cast<const char*>(buffer_.data().data()), used);
    }
    buffer_.consume(used);
    if (error == http::error::need_more) {
      ReadMore();
      return;
    }
    if (error) {
      Refuse(error);
      return;
    }
    if (!headWasDone && parser_->is_header_done() && !parser_->is_done()) {
      parser_->eager(true);
      // A client that asks first sends no body until told to.
      const std::string* expect = parser_->Request().FindHeader("Expect");
      if (expect != nullptr && data::EqualsIgnoringCase(*expect, "100-continue")) {
        Write({std::chrono::milliseconds(0), {kContinue}}, &HttpConnection::Parse);
        return;
      }
    }
  }
  OnRequest();
}

void HttpConnection::OnRequest() {
  Disarm();
  context_.registry.SetWaiting(id_, false);
  JournalEntry& request = parser_->Request();
  request.connection = id_;
  const bool keepAlive = parser_->keep_alive();
  // Until the answer comes, from whichever thread, its event loop keeps running.
  const auto loop =
      asio::prefer(socket_.get_executor(), asio::execution::outstanding_work.tracked);
  context_.handler.Answer(
      std::move(request),
      [self = shared_from_this(), keepAlive, loop](std::shared_ptr<const CannedAnswer> answer) {
        // At once when the answer comes on the connection's own thread.
        asio::dispatch(loop, [self, keepAlive, answer]() {
          self->Guarded([&] { self->Answer(answer, keepAlive); });
        });
      });
}

void HttpConnection::Refuse(const beast::error_code& error) {
  Disarm();
  context_.registry.SetWaiting(id_, false);
  if (error == http::error::body_limit) {
    const std::string limit = std::to_string(context_.options.maxRequestBytes);
    Log("a request body over the limit of " + limit + " bytes is refused with 413");
    Answer(std::make_shared<CannedAnswer>(
               TextAnswer(413, "request body over the limit of " + limit + " bytes")),
           false);
  } else if (error == http::error::header_limit) {
    Log("a request head over " + std::to_string(kHeadLimit) + " bytes is refused with 431");
    Answer(std::make_shared<CannedAnswer>(TextAnswer(431, "request head too large")), false);
  } else {
    const std::string cause = error == http::error::bad_transfer_encoding
                                  ? "Transfer-Encoding other than chunked, or with Content-Length"
                                  : error.message();
    Log("a malformed request is refused with 400: " + cause);
    Answer(std::make_shared<CannedAnswer>(TextAnswer(400, "bad request: " + cause)), false);
  }
}

void HttpConnection::Answer(std::shared_ptr<const CannedAnswer> answer, bool keepAlive) {
  answer_.emplace(std::move(answer), keepAlive);
  NextPiece();
}

void HttpConnection::NextPiece() {
  const std::optional<AnswerPiece> piece = answer_->Next();
  if (!piece) {
    if (answer_->ClosesConnection()) {
      CloseNow();
    } else {
      ReadRequest();
    }
    return;
  }
  if (piece->pause <= std::chrono::milliseconds::zero()) {
    Write(*piece, &HttpConnection::NextPiece);
    return;
  }
  pause_.expires_after(piece->pause);
  pause_.async_wait([self = shared_from_this(), piece = *piece](const beast::error_code& error) {
    if (!error) {
      beast::error_code ignored;
      self->socket_.cancel(ignored);  // ends WatchForHangUp
      self->Guarded([&] { self->Write(piece, &HttpConnection::NextPiece); });
    }
  });
  WatchForHangUp();
}

void HttpConnection::WatchForHangUp() {
  socket_.async_wait(Socket::wait_read, [self =
                                             shared_from_this()](const beast::error_code& error) {
    if (error) {
      return;  // the pause is over
    }
    char byte = 0;
    const ssize_t peeked = ::recv(self->socket_.native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    const bool nothingYet = peeked < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    if (nothingYet) {
      self->WatchForHangUp();
    } else if (peeked <= 0) {
      self->CloseNow();  // closed by the client, or reset
    }                    // else the next request came early; it waits for this answer
  });
}

void HttpConnection::Write(const AnswerPiece& piece, Step then) {
  pending_ = piece.bytes;
  afterWrite_ = then;
  WritePending();
}

void HttpConnection::WritePending() {
  if (std::all_of(pending_.begin(), pending_.end(), [](auto bytes) { return bytes.empty(); })) {
    (this->*afterWrite_)();
    return;
  }
  const std::array<asio::const_buffer, 3> buffers{
      asio::buffer(pending_[0]), asio::buffer(pending_[1]), asio::buffer(pending_[2])};
  Arm(context_.options.writeTimeout, Watch::Answer);
  socket_.async_write_some(
      buffers, [self = shared_from_this()](const beast::error_code& error, std::size_t size) {
        self->Guarded([&] { self->OnWritten(error, size); });
      });
}

void HttpConnection::OnWritten(const beast::error_code& error, std::size_t size) {
  Disarm();
  if (error) {
    CloseNow();  // the client is gone
    return;
  }
  for (std::string_view& bytes : pending_) {
    const std::size_t taken = std::min(size, bytes.size());
    bytes.remove_prefix(taken);
    size -= taken;
  }
  WritePending();
}

void HttpConnection::Arm(std::chrono::milliseconds timeout, Watch watch) {
  deadline_ = std::chrono::steady_clock::now() + timeout;
  watch_ = watch;
  if (!watching_ || deadline_ < watchdog_.expiry()) {
    WatchDeadline();
  }
}

void HttpConnection::Disarm() { deadline_ = std::chrono::steady_clock::time_point::max(); }

void HttpConnection::WatchDeadline() {
  watching_ = true;
  watchdog_.expires_at(deadline_);
  watchdog_.async_wait([self = shared_from_this()](const beast::error_code& error) {
    if (error) {
      return;  // replaced by an earlier deadline, or closed
    }
    self->watching_ = false;
    if (self->deadline_ == std::chrono::steady_clock::time_point::max()) {
      return;  // disarmed; the next Arm watches again
    }
    if (self->deadline_ > std::chrono::steady_clock::now()) {
      self->WatchDeadline();  // armed again meanwhile
      return;
    }
    self->Guarded([&] { self->OnTimeout(); });
  });
}

void HttpConnection::OnTimeout() {
  const StubServerOptions& options = context_.options;
  if (watch_ == Watch::Answer) {
    Log("the client took no byte of its answer for " + Milliseconds(options.writeTimeout) +
        "; closing");
  } else if (const std::size_t received = parser_->Request().head.size() + buffer_.size();
             received > 0) {
    Log("a request did not arrive whole within " + Milliseconds(options.readTimeout) + " (" +
        std::to_string(received) + " bytes came); closing");
  }  // else an idle connection, closed without a word
  CloseNow();
}

void HttpConnection::CloseNow() {
  if (closed_) {
    return;
  }
  closed_ = true;
  beast::error_code ignored;
  pause_.cancel();
  watchdog_.cancel();
  socket_.shutdown(Socket::shutdown_both, ignored);
  socket_.close(ignored);
}

}  // namespace vrex::stub
