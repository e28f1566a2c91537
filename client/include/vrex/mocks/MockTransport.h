#pragma once
// A gMock transport for application tests: give it to vrex::Client and test
// code that sends requests without a network.
//
//   auto transport = std::make_shared<vrex::mocks::MockTransport>();
//   EXPECT_CALL(*transport, Post(vrex::mocks::RequestTypeIs("ApiVersionQuery")))
//       .WillOnce(testing::Return(vrex::mocks::AnswerWith(version)));
//   const vrex::Client client(options, transport);

#include <gmock/gmock.h>
#include <google/protobuf/message.h>

#include <string>
#include <utility>

#include "vrex/Transport.h"

namespace vrex::mocks {

class MockTransport : public Transport {
 public:
  /// Unless told otherwise, a streamed call (vrex::Client::Send streams its
  /// answers) is answered by Post and gets its 200 body in one chunk, so
  /// expectations on Post cover both ways of sending.
  MockTransport() {
    EXPECT_CALL(*this, PostStreaming)
        .Times(::testing::AnyNumber())
        .WillRepeatedly([this](const HttpRequest& request, const StreamHandler& onChunk) {
          HttpResponse response = Post(request);
          if (response.status == 200 && !response.TransportFailed()) {
            if (!response.body.empty() && !onChunk(response.body, response.body.size())) {
              response.failure = TransferFailure::Cancelled;
            }
            response.body.clear();
          }
          return response;
        });
  }

  MOCK_METHOD(HttpResponse, Post, (const HttpRequest& request), (override));
  MOCK_METHOD(HttpResponse, PostStreaming,
              (const HttpRequest& request, const StreamHandler& onChunk), (override));
};

/// A 200 answer carrying `answer`.
inline HttpResponse AnswerWith(const google::protobuf::Message& answer) {
  HttpResponse response;
  response.status = 200;
  response.body = answer.SerializeAsString();
  return response;
}

/// An answer with `status` and no body (e.g. 401 or 503).
inline HttpResponse StatusOnly(int status) {
  HttpResponse response;
  response.status = status;
  return response;
}

/// A failed transfer, by default as when the server cannot be reached.
inline HttpResponse TransportFailure(std::string reason,
                                     TransferFailure failure = TransferFailure::Unreachable) {
  HttpResponse response;
  response.failure = failure;
  response.transportError = std::move(reason);
  return response;
}

/// Matches an HttpRequest by the request type it sends.
MATCHER_P(RequestTypeIs, requestType, "sends " + std::string(requestType)) {
  return arg.requestType == requestType;
}

}  // namespace vrex::mocks
