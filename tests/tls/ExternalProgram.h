#pragma once
// Finding and running the program the TLS tests lean on (openssl), which the
// set-up script installs but may be missing elsewhere.

#include <optional>
#include <string>
#include <vector>

namespace vrex::tls {

/// The full path of `name` on PATH; nothing when absent.
std::optional<std::string> FindProgram(const std::string& name);

/// Runs `program` to its end, at most 30 s; throws std::runtime_error naming
/// the command and quoting its output when it fails or hangs.
void RunProgram(const std::string& program, const std::vector<std::string>& arguments);

}  // namespace vrex::tls
