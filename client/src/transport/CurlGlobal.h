#pragma once

namespace vrex::internal {

/// Initialises libcurl's global state the first time it is called, once per
/// process, however many threads call it at once. The state is never cleaned
/// up: that keeps libcurl's reference count above zero, so the established
/// VrexClient::Post, which cleans up after every call, cannot tear it down
/// under a running session.
void EnsureCurlGlobalInit();

}  // namespace vrex::internal
