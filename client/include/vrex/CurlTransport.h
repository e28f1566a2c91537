#pragma once
// The libcurl transport vrex::Client uses unless it is given another.

#include <memory>

#include "vrex/ClientOptions.h"
#include "vrex/Export.h"
#include "vrex/Transport.h"

namespace vrex {

/// A transport that keeps a pool of libcurl handles, each holding its
/// connections open between calls (one handle per concurrent caller).
/// libcurl's global state is initialised once per process. Uses every option
/// except `baseUrl` and `retry`.
VREX_EXPORT std::shared_ptr<Transport> MakeCurlTransport(const ClientOptions& options);

}  // namespace vrex
