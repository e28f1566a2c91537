#pragma once
// Base URLs of servers that cannot be reached, and the base URL of each
// target of the fault matrix.

#include <string>

#include "FaultCatalog.h"
#include "vrex/stub/StubServer.h"

namespace vrex::reliability {

/// "http://127.0.0.1:<port>" of a port that was bound and closed again, so
/// connecting is refused.
std::string RefusedBaseUrl();

/// A host under ".invalid", which name resolution never finds.
std::string UnknownHostBaseUrl();

/// The base URL a call of `target` goes to; `server` is used for Target::Stub.
std::string BaseUrlOf(Target target, const stub::StubServer& server);

}  // namespace vrex::reliability
