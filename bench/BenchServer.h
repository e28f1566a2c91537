#pragma once
// One stub server shared by the benchmarks of a run, answering the small
// version query.
#include <string>

#include "vrex/stub/StubServer.h"

namespace bench {

/// The running server; started on first use, stopped at exit.
vrex::stub::StubServer& SharedServer();

/// The URL of the version endpoint of the shared server.
std::string VersionUrl();

}  // namespace bench
