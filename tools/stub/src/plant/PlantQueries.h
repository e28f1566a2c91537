#pragma once
// The plant's answer to each request type it serves, by name.

#include <google/protobuf/message.h>

#include <functional>
#include <string_view>

#include "plant/Sqlite.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub::plant {

using PlantHandler = std::function<CannedAnswer(SqliteDatabase&, const google::protobuf::Message&)>;

/// A handler that answers with the message `function` computes from the request.
template <typename Request, typename Function>
PlantHandler Answering(Function function) {
  return [function](SqliteDatabase& db, const google::protobuf::Message& request) {
    return MessageAnswer(function(db, dynamic_cast<const Request&>(request)));
  };
}

/// A handler that answers with the bytes `function` writes from the request.
template <typename Request, typename Function>
PlantHandler AnsweringBytes(Function function) {
  return [function](SqliteDatabase& db, const google::protobuf::Message& request) {
    CannedAnswer answer;
    answer.body = function(db, dynamic_cast<const Request&>(request));
    return answer;
  };
}

/// The handler of `requestType`, or nullptr when the plant serves no such request.
const PlantHandler* FindPlantHandler(std::string_view requestType);

}  // namespace vrex::stub::plant
