#pragma once
// How the answer of one call gets from the transfer to the parser, the same
// for the synchronous and the asynchronous forms. Where slices can be parsed
// while the rest arrives, a 200 body streams into the AnswerStream (each
// attempt starting it afresh); any other body is kept by the transport,
// which costs no more memory than its size, and fed whole. The parse of what
// is left runs on the calling thread, or for an asynchronous call on the
// client's parsing threads, so that the event thread only moves bytes.

#include <functional>
#include <memory>
#include <optional>

#include "parse/AnswerStream.h"
#include "vrex/Transport.h"

namespace google::protobuf {
class Message;
}

namespace vrex::internal {

class AnswerParser;

class AnswerIntake {
 public:
  AnswerIntake(std::shared_ptr<AnswerParser> parser, google::protobuf::Message& answer);

  /// Receives the 200 body of one attempt, or empty when the transport keeps
  /// it. Call Restart before each further attempt.
  StreamHandler Handler();
  /// Forgets what earlier attempts streamed in.
  void Restart();
  /// One attempt on the calling thread, streamed or not.
  HttpResponse Receive(Transport& transport, const HttpRequest& request);

  /// Whether the answer reads as its message: parses a completed 200
  /// `response` (once; later calls say the same), true for any other.
  bool Finish(const HttpResponse& response);
  /// Finish on one of the parser's threads (on this one when it has none),
  /// then `done`. `response` must stay until `done` runs.
  void FinishElsewhere(const HttpResponse& response, std::function<void()> done);

 private:
  std::shared_ptr<AnswerParser> parser_;  // outlives the stream
  AnswerStream stream_;
  bool streamed_;
  std::optional<bool> parsed_;
};

}  // namespace vrex::internal
