#pragma once
// The catalog of every request the results server accepts: its area, its
// kind, the contract message it is answered with and whether it may be sent
// again. The session client, the
// stub server and the command-line tool all read it; the list itself stands
// once, in RequestList.inc.

#include <string_view>
#include <vector>

#include "vrex/Export.h"

namespace google::protobuf {
class Descriptor;
}

namespace vrex {

/// How the server answers a request (see RequestList.inc for the exceptions
/// to the names).
enum class RequestKind {
  Query,    ///< answered by a contract message
  Command,  ///< answered by the outcome alone
  File,     ///< answered by raw file bytes (archive, WAV, CSV)
};

struct RequestInfo {
  std::string_view area;  ///< group for listings, e.g. "Measurements"
  std::string_view name;  ///< request type and endpoint name
  RequestKind kind;
  std::string_view answerType;  ///< message name in Korvan.KQ.DataContracts; empty unless Query
  bool repeatable;              ///< may be sent again after a transient failure (RequestList.inc)
};

/// Every request, in listing order.
VREX_EXPORT const std::vector<RequestInfo>& Requests();

/// The entry of a request type, or nullptr when the server knows no such request.
VREX_EXPORT const RequestInfo* FindRequest(std::string_view requestType);

/// Descriptor of the message the answer of `request` is read into.
///
/// Without `overrideType`: the query's answer message; nullptr for commands
/// and files. Where the server, not the contract, fixes an answer (see the
/// comments in RequestList.inc) a caller that knows better names the message
/// in `overrideType` (short or full name, e.g. "ResultCountContainer"); it wins for
/// every kind, so a command's answer body can be read as well. An override
/// that names no contract message gives nullptr: it never falls back to the
/// catalog's answer, so a misspelt name does not go unnoticed.
VREX_EXPORT const google::protobuf::Descriptor* AnswerDescriptor(
    const RequestInfo& request, std::string_view overrideType = {});

VREX_EXPORT std::string_view ToString(RequestKind kind);

}  // namespace vrex
