#pragma once
// The faults of a plant network that the reliability tests put between the
// clients and the stub server, each with the outcome that every client API
// owes its caller. One row here is one row of the fault matrix in
// docs/reliability.md.

#include <ostream>
#include <string>
#include <vector>

#include "MessageContainer.pb.h"
#include "VersionDTO.pb.h"
#include "vrex/Outcome.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::reliability {

namespace contracts = ::Korvan::KQ::DataContracts;
namespace enums = contracts::Enumerator;

/// Where a call goes.
enum class Target {
  Stub,         ///< the stub server, answering as `Fault::answer` says
  RefusedPort,  ///< a loopback port nobody listens on
  UnknownHost,  ///< a name under ".invalid", which never resolves
};

/// What becomes of the caller's response message.
enum class ResponseFate {
  Untouched,  ///< keeps what the caller put in
  Parsed,     ///< holds the server's answer (`Fault::answer`'s body)
  Unknown,    ///< as the parser left it: nothing is promised
};

/// What VrexClient::Post (and every SendToServer) reports.
struct PostExpectation {
  enums::CodeCategory category;
  enums::DetailCode detail;
  enums::LogLevel level;
  ResponseFate response;
  bool transferFailureLine;  ///< "curl_easy_perform() failed: ..." on stderr
};

/// What vrex::Client reports.
struct ClientExpectation {
  Outcome::Event event;
  int httpStatus;  ///< of the last head received; 0: none
  ResponseFate response;
};

struct Fault {
  std::string name;
  Target target = Target::Stub;
  stub::CannedAnswer answer;  ///< how the stub answers "ApiVersionQuery"
  PostExpectation post;
  ClientExpectation client;
  /// The established Post has no time-out: it waits for as long as this
  /// server stays silent, and `post` is its outcome once the server ends
  /// the silence by closing the connection.
  bool postWaitsForServer = false;
};

/// Test output names a fault by its name.
void PrintTo(const Fault& fault, std::ostream* out);

/// The version the stub sends where it answers properly.
contracts::VersionDTO ServerVersion();

/// Every fault of the matrix.
const std::vector<Fault>& Faults();
/// The faults after which the established Post returns by itself
/// (`postWaitsForServer` false), or the others.
std::vector<Fault> FaultsWherePostWaits(bool waits);

}  // namespace vrex::reliability
