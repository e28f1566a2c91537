#pragma once
// The match of a case: a proto3-JSON subset that a decoded request must
// contain. Fields are compared by value on the decoded messages; nested
// messages are matched as subsets too, a repeated field by each element the
// match lists being found among the request's elements (requests have no maps).

#include <google/protobuf/message.h>
#include <google/protobuf/struct.pb.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "vrex/Result.h"

namespace vrex::stub {

struct MatchOutcome {
  bool matched = true;
  /// Fields (and listed elements) of the match the request agrees with: the
  /// closeness of a case that failed.
  std::size_t agreeing = 0;
  /// The first field that differed, e.g. `Line: wanted "Line-A", got "Line-B"`.
  std::string difference;
};

class RequestMatch {
 public:
  /// The match `json` for requests of `requestType`. Fails, naming the cause,
  /// when `json` is no JSON object of the request message.
  static Result<RequestMatch> Parse(std::string_view requestType, std::string_view json);

  MatchOutcome Compare(const google::protobuf::Message& request) const;
  /// The match as given, on one line.
  const std::string& Json() const { return json_; }

 private:
  std::shared_ptr<const google::protobuf::Message> wanted_;
  std::shared_ptr<const google::protobuf::Struct> mask_;  // which fields the match names
  std::string json_;
};

/// The request of `requestType` that `body` encodes, or nullptr when it
/// encodes none.
std::unique_ptr<google::protobuf::Message> DecodeRequest(std::string_view requestType,
                                                         std::string_view body);

}  // namespace vrex::stub
