#pragma once
// The established client of the results server.
//
// Every function reports its outcome in a MessageContainer and raises no
// exception of its own. Check `CodeCategory` before using a result: a failed
// call still returns a result message (default-constructed, or as the parser
// left it after an unreadable 200 answer).
//
// What a caller must know:
// - There is no time-out: a server that accepts the connection and never
//   answers blocks the call for as long as it stays silent.
// - Each call opens its own connection and keeps its small header list for
//   the life of the process; a call whose transfer fails also keeps its
//   transfer handle and connection (about 14 KB and two file descriptors per
//   failure). Long-running processes should prefer the session client
//   `vrex::Client`, which reuses connections and keeps nothing per call.
// - The base URL is used as given: "http://host:8080" and
//   "http://host:8080/" lead to different paths ("/api/..." and "//api/...").
// - The trailing text argument of every function is accepted and ignored.

#include <google/protobuf/message.h>

#include <string>

#include "ApiVersionQuery.pb.h"
#include "GeneralInformationByIdQuery.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "IdNameTableStore.pb.h"
#include "MeasurementByIdQuery.pb.h"
#include "MeasurementContainer.pb.h"
#include "MeasurementQuery.pb.h"
#include "MessageContainer.pb.h"
#include "ProtocolCrossReferenceQuery.pb.h"
#include "ProtocolCrossReferenceStore.pb.h"
#include "ResultDbIdNameTablesQuery.pb.h"
#include "SimpleTopologyContainer.pb.h"
#include "SimpleTopologyQuery.pb.h"
#include "VectorTrackOfMeasurementsByIdQuery.pb.h"
#include "VectorTrackOfMeasurementsContainer.pb.h"
#include "VectorTrackOfMeasurementsQuery.pb.h"
#include "VersionDTO.pb.h"
#include "vrex/Export.h"
#include "vrex/ServerVersion.h"  // requiredApiMajorVersion, minimumApiMinorVersion

namespace VrexClient {

namespace contracts = ::Korvan::KQ::DataContracts;

/// Posts `request` to `url` and parses a 200 answer into `response`.
///
/// `response` is written only on status 200; on every other path it keeps
/// what it held. Outcomes: all zero on success; Backend/Error when the
/// transfer fails (one line on stderr) or a 200 body does not parse;
/// ApiPipeline/Unauthorized/Error for 4xx; ApiPipeline/Failed/Error for any
/// other status. An empty request is sent as the JSON body "{}".
///
/// `url` goes to libcurl as it is, with every protocol libcurl speaks
/// (file:// reads local files, gopher:// and dict:// send bytes to any
/// port): it must come from the application's configuration, never from
/// untrusted input. The same holds for every function below, which call
/// Post. vrex::Client (vrex/Client.h) is the form that allows http and https
/// only.
VREX_EXPORT contracts::MessageContainer Post(std::string url,
                                             const google::protobuf::Message& request,
                                             google::protobuf::Message& response,
                                             std::string unusedText);

/// Asks the server for its interface version; true when the call succeeded
/// and the server's version is accepted. A refused version leaves
/// `container` at the success status: only the result tells.
VREX_EXPORT bool CheckVersion(std::string serverUrl, contracts::MessageContainer& container,
                              std::string unusedText);

// Typed reads. Each posts `query` to its own endpoint ("/api/<QueryType>"),
// replaces `container` with the outcome and returns the answer by value.
VREX_EXPORT contracts::VersionDTO SendToServer(std::string serverUrl,
                                               const contracts::ApiVersionQuery& query,
                                               contracts::MessageContainer& container,
                                               std::string unusedText);
VREX_EXPORT contracts::SimpleTopologyContainer SendToServer(
    std::string serverUrl, const contracts::SimpleTopologyQuery& query,
    contracts::MessageContainer& container, std::string unusedText);
VREX_EXPORT contracts::GeneralInformationContainer SendToServer(
    std::string serverUrl, const contracts::GeneralInformationByIdQuery& query,
    contracts::MessageContainer& container, std::string unusedText);
VREX_EXPORT contracts::GeneralInformationContainer SendToServer(
    std::string serverUrl, const contracts::GeneralInformationQuery& query,
    contracts::MessageContainer& container, std::string unusedText);
VREX_EXPORT contracts::IdNameTableStore SendToServer(
    std::string serverUrl, const contracts::ResultDbIdNameTablesQuery& query,
    contracts::MessageContainer& container, std::string unusedText);
VREX_EXPORT contracts::ProtocolCrossReferenceStore SendToServer(
    std::string serverUrl, const contracts::ProtocolCrossReferenceQuery& query,
    contracts::MessageContainer& container, std::string unusedText);
VREX_EXPORT contracts::MeasurementContainer SendToServer(
    std::string serverUrl, const contracts::MeasurementByIdQuery& query,
    contracts::MessageContainer& container, std::string unusedText);
VREX_EXPORT contracts::MeasurementContainer SendToServer(std::string serverUrl,
                                                         const contracts::MeasurementQuery& query,
                                                         contracts::MessageContainer& container,
                                                         std::string unusedText);
VREX_EXPORT contracts::VectorTrackOfMeasurementsContainer SendToServer(
    std::string serverUrl, const contracts::VectorTrackOfMeasurementsByIdQuery& query,
    contracts::MessageContainer& container, std::string unusedText);
VREX_EXPORT contracts::VectorTrackOfMeasurementsContainer SendToServer(
    std::string serverUrl, const contracts::VectorTrackOfMeasurementsQuery& query,
    contracts::MessageContainer& container, std::string unusedText);

}  // namespace VrexClient
