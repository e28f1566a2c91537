#include "vrex/RequestCatalog.h"

#include <google/protobuf/descriptor.h>

#include <algorithm>
#include <string>

#include "vrex/ContractTypes.h"

namespace vrex {

namespace {

std::vector<RequestInfo> BuildRequests() {
  return {
#define VREX_IS_REPEATABLE_Repeatable true
#define VREX_IS_REPEATABLE_Once false
#define VREX_QUERY(Area, Request, Answer, Repeat) \
  {#Area, #Request, RequestKind::Query, #Answer, VREX_IS_REPEATABLE_##Repeat},
#define VREX_COMMAND(Area, Request, Repeat) \
  {#Area, #Request, RequestKind::Command, {}, VREX_IS_REPEATABLE_##Repeat},
#define VREX_FILE(Area, Request, Repeat) \
  {#Area, #Request, RequestKind::File, {}, VREX_IS_REPEATABLE_##Repeat},
#include "vrex/RequestList.inc"
#undef VREX_IS_REPEATABLE_Repeatable
#undef VREX_IS_REPEATABLE_Once
  };
}

}  // namespace

const std::vector<RequestInfo>& Requests() {
  static const std::vector<RequestInfo> requests = BuildRequests();
  return requests;
}

const RequestInfo* FindRequest(std::string_view requestType) {
  const auto& requests = Requests();
  const auto found = std::find_if(requests.begin(), requests.end(), [&](const RequestInfo& info) {
    return info.name == requestType;
  });
  return found == requests.end() ? nullptr : &*found;
}

const google::protobuf::Descriptor* AnswerDescriptor(const RequestInfo& request,
                                                     std::string_view overrideType) {
  if (!overrideType.empty()) {
    return FindContractMessage(overrideType);
  }
  if (request.kind != RequestKind::Query) {
    return nullptr;
  }
  return FindContractMessage(request.answerType);
}

std::string_view ToString(RequestKind kind) {
  switch (kind) {
    case RequestKind::Query:
      return "query";
    case RequestKind::Command:
      return "command";
    case RequestKind::File:
      return "file";
  }
  return "unknown";
}

}  // namespace vrex
