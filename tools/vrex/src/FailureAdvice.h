#pragma once
// Turns a failed call into one line a person can act on: what went wrong,
// in words, and what to try next.

#include <string>
#include <string_view>

#include "vrex/Outcome.h"

namespace vrex::cli {

/// E.g. "cannot reach http://host:8080: Connection refused (is the server
/// running? check the URL)". `baseUrl` is the server the call went to;
/// `systemReason` the reason the system gave for a failed connection, when
/// known, which names the cause better than libcurl's summary.
std::string DescribeFailure(const Outcome& outcome, std::string_view baseUrl,
                            std::string_view systemReason = {});

}  // namespace vrex::cli
