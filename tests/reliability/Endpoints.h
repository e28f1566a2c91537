#pragma once
// The base URL of each target of the fault matrix, and of a host that name
// resolution never finds.

#include <string>

#include "FaultCatalog.h"
#include "vrex/stub/StubServer.h"

namespace vrex::reliability {

/// A host under ".invalid", which name resolution never finds.
std::string UnknownHostBaseUrl();

/// The base URL a call of `target` goes to; `server` is used for Target::Stub.
std::string BaseUrlOf(Target target, const stub::StubServer& server);

}  // namespace vrex::reliability
