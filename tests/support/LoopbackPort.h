#pragma once
// Ports on 127.0.0.1 for servers that a test or benchmark runs as another
// program, which must be told its port before it starts, and a URL where
// nothing listens.

#include <string>

namespace vrex::testing {

/// A port the system just handed out: free unless someone takes it before
/// the program binds it. Throws std::runtime_error when there is none.
int FreeLoopbackPort();

/// "http://127.0.0.1:<port>" of a port that was bound and closed again, so
/// connecting is refused.
std::string UnreachableUrl();

/// Whether something accepts connections on the port.
bool AcceptsConnections(int port);

}  // namespace vrex::testing
