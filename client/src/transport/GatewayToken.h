#pragma once
// The build's gateway token; internal to the library and never exported.
#include <string>

namespace vrex::internal {

extern const std::string gatewayAuthenticationToken;

}  // namespace vrex::internal
