#pragma once
// Input that vrex reads whole (request JSON, a token file): regular files
// and standard input only, and only up to a size, so that a directory, a
// device such as /dev/zero or a FIFO without writer can neither crash vrex
// nor hold it.

#include <cstdint>
#include <iosfwd>
#include <string>

#include "vrex/Result.h"

namespace vrex::cli {

/// The request JSON of `-d @FILE` or `-d @-` may be this large.
inline constexpr std::uint64_t kMaxRequestBytes = std::uint64_t{16} << 20;

/// The contents of `path` when it is a regular file of at most `limit`
/// bytes; else a failure naming `what` ("the request file"), the file and why.
Result<std::string> ReadRegularFile(const std::string& path, std::uint64_t limit,
                                    const std::string& what);

/// What `in` holds, when that is at most `limit` bytes.
Result<std::string> ReadStream(std::istream& in, std::uint64_t limit, const std::string& name);

}  // namespace vrex::cli
