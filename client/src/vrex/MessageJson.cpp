#include "vrex/MessageJson.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/util/json_util.h>

#include "parse/JsonParseError.h"
#include "vrex/data/JsonShape.h"
#include "vrex/ContractTypes.h"

namespace vrex {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

template <typename T>
Result<T> Failure(std::string error) {
  return Result<T>::Failure(std::move(error));
}

}  // namespace

std::string MergeJsonInto(std::string_view json, Message& message) {
  // The JSON parser reads [["a", ["b"]], "c"] as the list a, b, c; no field
  // of the contract is a list of lists, so a list inside a list is a mistake.
  if (data::ScanJsonShape(json).listInList) {
    return "a list holds a list; each list of the contract holds plain values or objects";
  }
  google::protobuf::util::JsonParseOptions options;
  options.ignore_unknown_fields = false;
  const auto status = google::protobuf::util::JsonStringToMessage(
      google::protobuf::StringPiece(json.data(), json.size()), &message, options);
  if (status.ok()) {
    return {};
  }
  const std::string error(status.message());
  return error.empty() ? "the text is not JSON of " + message.GetTypeName()
                       : internal::DescribeJsonParseError(error);
}

Result<std::unique_ptr<Message>> MessageFromJson(std::string_view typeName, std::string_view json) {
  using MessageResult = std::unique_ptr<Message>;
  const Descriptor* type = FindContractMessage(typeName);
  if (type == nullptr) {
    return Failure<MessageResult>("no contract message is named \"" + std::string(typeName) + "\"");
  }
  const Message* prototype = MessageFactory::generated_factory()->GetPrototype(type);
  if (prototype == nullptr) {
    return Failure<MessageResult>("no message class for " + type->full_name());
  }
  std::unique_ptr<Message> message(prototype->New());
  std::string error = MergeJsonInto(json, *message);
  if (!error.empty()) {
    return Failure<MessageResult>(type->name() + ": " + error);
  }
  return Result<MessageResult>::Success(std::move(message));
}

Result<std::string> MessageToJson(const Message& message, const JsonLayout& layout) {
  google::protobuf::util::JsonPrintOptions options;
  options.add_whitespace = layout.multiLine;
  options.always_print_primitive_fields = layout.withDefaults;
  options.always_print_enums_as_ints = layout.enumsAsNumbers;
  options.preserve_proto_field_names = true;
  std::string json;
  const auto status = google::protobuf::util::MessageToJsonString(message, &json, options);
  if (!status.ok()) {
    return Failure<std::string>(message.GetTypeName() + ": " + std::string(status.message()));
  }
  return Result<std::string>::Success(std::move(json));
}

}  // namespace vrex
