#pragma once
// The acceptance rule for a server's interface version, for programs that
// read the version themselves (VrexClient::CheckVersion applies the same
// rule to the answer it fetches).

#include "VersionDTO.pb.h"
#include "VrexClient.h"

namespace vrex {

/// Whether a server reporting `version` speaks the interface this library
/// was built for: the same major version, and no negative minor.
inline bool IsAcceptedVersion(const Korvan::KQ::DataContracts::VersionDTO& version) {
  return version.major() == VrexClient::requiredApiMajorVersion &&
         version.minor() >= VrexClient::minimumApiMinorVersion;
}

}  // namespace vrex
