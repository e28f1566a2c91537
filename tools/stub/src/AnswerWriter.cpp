#include "AnswerWriter.h"

#include <boost/beast/http/status.hpp>
#include <charconv>
#include <utility>

namespace vrex::stub {

namespace {

namespace http = boost::beast::http;
using std::chrono::milliseconds;

constexpr std::string_view kCrlf = "\r\n";
constexpr std::string_view kLastChunk = "0\r\n\r\n";
constexpr std::string_view kStatusLine200 = "HTTP/1.1 200 OK\r\n";
// One line of an EndlessHeaders delivery, about 1 KiB.
const std::string kEndlessHeaderLine = "X-Endless: " + std::string(1000, 'x') + "\r\n";

std::string_view ReasonOf(int status) {
  const std::string_view reason =
      http::obsolete_reason(static_cast<http::status>(static_cast<unsigned>(status)));
  return reason == "<unknown-status>" ? std::string_view{} : reason;
}

std::string Hex(std::size_t value) {
  char digits[2 * sizeof value];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), value, 16).ptr;
  return std::string(digits, end);
}

AnswerPiece Piece(milliseconds pause, std::string_view a = {}, std::string_view b = {},
                  std::string_view c = {}) {
  return {pause, {a, b, c}};
}

bool SizeIsTrue(const CannedAnswer& answer) {
  return !answer.announcedLength || *answer.announcedLength == answer.body.size();
}

std::string Framing(const CannedAnswer& answer) {
  switch (answer.delivery) {
    case Delivery::Chunked:
      return "Transfer-Encoding: chunked";
    case Delivery::Whole:
    case Delivery::CloseMidBody:
      return "Content-Length: " +
             std::to_string(answer.announcedLength.value_or(answer.body.size()));
    default:
      return {};  // no head of the server's own
  }
}

/// The status line and header lines of `answer`, with `framing` (its
/// Content-Length or Transfer-Encoding line), up to the blank line.
std::string ResponseHead(const CannedAnswer& answer, std::string_view framing, bool close) {
  std::string head = "HTTP/1.1 " + std::to_string(answer.status) + " ";
  head += ReasonOf(answer.status);
  head += kCrlf;
  const auto line = [&head](std::string_view name, std::string_view value) {
    head.append(name).append(": ").append(value).append(kCrlf);
  };
  if (!answer.contentType.empty()) {
    line("Content-Type", answer.contentType);
  }
  head.append(framing).append(kCrlf);
  for (const ResponseHeader& header : answer.headers) {
    line(header.name, header.value);
  }
  if (close) {
    line("Connection", "close");
  }
  head += kCrlf;
  return head;
}

}  // namespace

AnswerWriter::AnswerWriter(std::shared_ptr<const CannedAnswer> answer, bool keepAlive)
    : answer_(std::move(answer)) {
  const CannedAnswer& a = *answer_;
  const bool wellFormed =
      a.delivery == Delivery::Chunked || (a.delivery == Delivery::Whole && SizeIsTrue(a));
  closes_ = !keepAlive || !wellFormed;
  if (a.delivery == Delivery::Chunked || a.delivery == Delivery::Whole ||
      a.delivery == Delivery::CloseMidBody) {
    head_ = ResponseHead(a, Framing(a), closes_ && wellFormed);
  }
  // An empty chunk would end the body: an empty body is sent as no chunk.
  chunks_ = a.body.empty() ? 0 : a.repeat;
  chunkSize_ = Hex(a.body.size()) + std::string(kCrlf);
}

std::optional<AnswerPiece> AnswerWriter::Next() {
  const CannedAnswer& a = *answer_;
  const std::uint64_t index = next_++;
  switch (a.delivery) {
    case Delivery::Whole:
      return index == 0 ? std::optional(Piece(a.delay, head_, a.body)) : std::nullopt;
    case Delivery::Chunked:
      if (index == 0) return Piece(a.delay, head_);
      if (index <= chunks_) return Piece(a.pace, chunkSize_, a.body, kCrlf);
      return index == chunks_ + 1 ? std::optional(Piece(milliseconds(0), kLastChunk))
                                  : std::nullopt;
    case Delivery::CloseWithoutAnswer:
      return index == 0 ? std::optional(Piece(a.delay)) : std::nullopt;
    case Delivery::CloseMidBody:
      if (index == 0)
        return Piece(milliseconds(0), head_, std::string_view(a.body).substr(0, a.body.size() / 2));
      return index == 1 ? std::optional(Piece(a.delay)) : std::nullopt;
    case Delivery::Raw:
      return index == 0 ? std::optional(Piece(a.delay, a.body)) : std::nullopt;
    case Delivery::EndlessHeaders:
      return index == 0 ? Piece(a.delay, kStatusLine200) : Piece(a.pace, kEndlessHeaderLine);
  }
  return std::nullopt;
}

}  // namespace vrex::stub
