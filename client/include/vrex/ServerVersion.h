#pragma once
// The interface version this client speaks and the rule that accepts a
// server's version: the one place both VrexClient::CheckVersion and the
// session client's users take it from.

#include "VersionDTO.pb.h"

namespace VrexClient {

/// The major interface version this client was built for.
constexpr int requiredApiMajorVersion = 4;
/// The lowest accepted minor version (only negative minors are refused).
constexpr int minimumApiMinorVersion = 0;

}  // namespace VrexClient

namespace vrex {

/// Whether a server reporting `version` speaks the interface this library
/// was built for: the same major version, and no negative minor. Patch and
/// development names are not looked at.
inline bool IsAcceptedVersion(const Korvan::KQ::DataContracts::VersionDTO& version) {
  return version.major() == VrexClient::requiredApiMajorVersion &&
         version.minor() >= VrexClient::minimumApiMinorVersion;
}

}  // namespace vrex
