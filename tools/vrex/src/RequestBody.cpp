#include "RequestBody.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

#include "vrex/MessageJson.h"
#include "vrex/RequestCatalog.h"

namespace vrex::cli {

Result<std::string> ReadRequestText(std::string_view argument,
                                          std::istream& standardInput) {
  using TextResult = Result<std::string>;
  if (argument.empty()) {
    return TextResult::Success("{}");
  }
  if (argument.front() != '@') {
    return TextResult::Success(std::string(argument));
  }
  const std::string path(argument.substr(1));
  if (path == "-") {
    std::ostringstream text;
    text << standardInput.rdbuf();
    return TextResult::Success(text.str());
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    return TextResult::Failure("cannot read the request file \"" + path +
                               "\": " + std::strerror(errno));
  }
  return TextResult::Success(
      std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
}

Result<std::unique_ptr<google::protobuf::Message>> ReadRequest(std::string_view requestType,
                                                                     std::string_view argument,
                                                                     std::istream& standardInput) {
  using RequestResult = Result<std::unique_ptr<google::protobuf::Message>>;
  const std::string type(requestType);
  if (FindRequest(requestType) == nullptr) {
    return RequestResult::Failure("the server knows no request \"" + type +
                                  "\"; `vrex list` shows the requests");
  }
  const auto text = ReadRequestText(argument, standardInput);
  if (!text.Ok()) {
    return RequestResult::Failure(text.GetStatus().Message());
  }
  auto request = MessageFromJson(requestType, text.Value());
  if (!request.Ok()) {
    return RequestResult::Failure(request.GetStatus().Message() + " \u2014 `vrex template " + type +
                                  "` shows the fields, `vrex describe " + type + "` their types");
  }
  return request;
}

}  // namespace vrex::cli
