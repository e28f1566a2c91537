#include "AnswerResponse.h"

#include <cstdint>
#include <memory>
#include <string>

namespace vrex::stub {

namespace {

void SetHead(const CannedAnswer& answer, httplib::Response& response) {
  response.status = answer.status;
  for (const ResponseHeader& header : answer.headers) {
    response.set_header(header.name, header.value);
  }
}

// `body` `repeat` times, one chunk each; the shared body is never copied.
void SetChunkedBody(const CannedAnswer& answer, httplib::Response& response) {
  auto body = std::make_shared<const std::string>(answer.body);
  std::uint64_t remaining = body->empty() ? 0 : answer.repeat;
  response.set_chunked_content_provider(
      answer.contentType, [body, remaining](std::size_t, httplib::DataSink& sink) mutable {
        if (remaining == 0) {
          sink.done();
          return true;
        }
        --remaining;
        return sink.write(body->data(), body->size());
      });
}

// Announces the whole body, sends its first half, falls silent, then gives up:
// the HTTP library closes a connection whose provider fails.
void SetBrokenOffBody(const CannedAnswer& answer, httplib::Response& response,
                      const ConnectionControl& control) {
  auto body = std::make_shared<const std::string>(answer.body);
  const std::size_t half = body->size() / 2;
  response.set_content_provider(
      body->size(), answer.contentType,
      [body, half, delay = answer.delay, pause = control.pause](
          std::size_t, std::size_t, httplib::DataSink& sink) {
        if (half > 0) {
          sink.write(body->data(), half);
        }
        pause(delay);
        return false;
      });
}

}  // namespace

void WriteAnswer(const CannedAnswer& answer, httplib::Response& response,
                 const ConnectionControl& control) {
  switch (answer.delivery) {
    case Delivery::Whole:
      control.pause(answer.delay);
      SetHead(answer, response);
      response.set_content(answer.body, answer.contentType);
      return;
    case Delivery::Chunked:
      control.pause(answer.delay);
      SetHead(answer, response);
      SetChunkedBody(answer, response);
      return;
    case Delivery::CloseWithoutAnswer:
      control.pause(answer.delay);
      control.close();
      return;
    case Delivery::CloseMidBody:
      SetHead(answer, response);
      SetBrokenOffBody(answer, response, control);
      return;
  }
}

}  // namespace vrex::stub
