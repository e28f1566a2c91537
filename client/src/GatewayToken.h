#pragma once
// The build's gateway token; internal to the library.
#include <string>

namespace VrexClient::detail {

extern const std::string gatewayAuthenticationToken;

}  // namespace VrexClient::detail
