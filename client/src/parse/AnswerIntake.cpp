#include "parse/AnswerIntake.h"

#include <utility>

#include "parse/AnswerParser.h"
#include "parse/ParsePool.h"
#include "parse/SliceRules.h"

namespace vrex::internal {

AnswerIntake::AnswerIntake(std::shared_ptr<AnswerParser> parser, google::protobuf::Message& answer)
    : parser_(std::move(parser)),
      stream_(*parser_, answer),
      streamed_(parser_->Threads() > 1 && SliceRules(answer).TypeAllowsSlices()) {}

StreamHandler AnswerIntake::Handler() {
  if (!streamed_) {
    return nullptr;
  }
  return [this](std::string_view chunk, std::uint64_t expected) {
    stream_.Feed(chunk, expected);
    return true;
  };
}

void AnswerIntake::Restart() {
  stream_.Reset();
  parsed_.reset();
}

HttpResponse AnswerIntake::Receive(Transport& transport, const HttpRequest& request) {
  Restart();
  return streamed_ ? transport.PostStreaming(request, Handler()) : transport.Post(request);
}

bool AnswerIntake::Finish(const HttpResponse& response) {
  if (response.TransportFailed() || response.status != 200) {
    return true;
  }
  if (!parsed_) {
    if (!streamed_) {
      stream_.FeedWhole(response.body);
    }
    parsed_ = stream_.Finish();
  }
  return *parsed_;
}

void AnswerIntake::FinishElsewhere(const HttpResponse& response, std::function<void()> done) {
  const auto finish = [this, &response, done = std::move(done)] {
    try {
      Finish(response);
    } catch (...) {  // memory ran out: the answer is not there to read
      parsed_ = false;
    }
    done();
  };
  if (!parser_->Pool().Post(finish)) {
    finish();
  }
}

}  // namespace vrex::internal
