#include "JsonAnswer.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/json_util.h>

#include <memory>
#include <string>

namespace vrex::stub {

namespace {

Result<const google::protobuf::Descriptor*> AnswerMessageOf(const RequestInfo& request,
                                                            std::string_view answerType) {
  using DescriptorResult = Result<const google::protobuf::Descriptor*>;
  const google::protobuf::Descriptor* descriptor = AnswerDescriptor(request, answerType);
  if (descriptor != nullptr) {
    return DescriptorResult::Success(descriptor);
  }
  if (!answerType.empty()) {
    return DescriptorResult::Failure("answer-type '" + std::string(answerType) +
                                     "' names no contract message");
  }
  return DescriptorResult::Failure(std::string(request.name) + " is a " +
                                   std::string(ToString(request.kind)) +
                                   " answered by no message: give its body as raw bytes (.bin) "
                                   "or name the message with answer-type in its .meta");
}

}  // namespace

Result<const RequestInfo*> KnownRequest(std::string_view requestType) {
  const RequestInfo* info = FindRequest(requestType);
  if (info == nullptr) {
    return Result<const RequestInfo*>::Failure("'" + std::string(requestType) +
                                               "' is not a request type the server knows");
  }
  return Result<const RequestInfo*>::Success(info);
}

Result<CannedAnswer> JsonAnswer(std::string_view requestType, std::string_view json,
                                std::string_view answerType) {
  const auto request = KnownRequest(requestType);
  if (!request) return Result<CannedAnswer>::Failure(request.GetStatus());
  const auto descriptor = AnswerMessageOf(*request.Value(), answerType);
  if (!descriptor) return Result<CannedAnswer>::Failure(descriptor.GetStatus());
  const std::unique_ptr<google::protobuf::Message> message(
      google::protobuf::MessageFactory::generated_factory()
          ->GetPrototype(descriptor.Value())
          ->New());

  const auto status = google::protobuf::util::JsonStringToMessage(
      google::protobuf::StringPiece(json.data(), json.size()), message.get());
  if (!status.ok()) {
    return Result<CannedAnswer>::Failure("not a valid " + descriptor.Value()->name() +
                                         " in proto3 JSON: " + status.ToString());
  }
  return Result<CannedAnswer>::Success(MessageAnswer(*message));
}

}  // namespace vrex::stub
