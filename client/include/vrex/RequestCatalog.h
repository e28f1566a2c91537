#pragma once
// The catalog of every request the results server accepts: its area, its
// kind and the contract message it is answered with. The session client, the
// stub server and the command-line tool all read it; the list itself stands
// once, in RequestList.inc.

#include <string_view>
#include <vector>

namespace google::protobuf {
class Descriptor;
}

namespace vrex {

enum class RequestKind {
  Query,    ///< read; answered by a contract message
  Command,  ///< change; answered by the outcome alone
  File,     ///< read; answered by raw file bytes (archive, WAV, CSV)
};

struct RequestInfo {
  std::string_view area;        ///< group for listings, e.g. "Measurements"
  std::string_view name;        ///< request type and endpoint name
  RequestKind kind;
  std::string_view answerType;  ///< message name in Korvan.KQ.DataContracts; empty unless Query
};

/// Every request, in listing order.
const std::vector<RequestInfo>& Requests();

/// The entry of a request type, or nullptr when the server knows no such request.
const RequestInfo* FindRequest(std::string_view requestType);

/// Descriptor of a contract message by its short name (e.g. "VersionDTO"),
/// or nullptr.
const google::protobuf::Descriptor* FindContractMessage(std::string_view typeName);

/// Descriptor of the answer of a query; nullptr for commands and files.
const google::protobuf::Descriptor* AnswerDescriptor(const RequestInfo& request);

std::string_view ToString(RequestKind kind);

}  // namespace vrex
