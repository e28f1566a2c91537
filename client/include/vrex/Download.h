#pragma once
// Options of the file answers (archive, WAV, CSV), which vrex::Client streams
// instead of holding them in memory.

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace vrex {

struct TransferProgress {
  std::uint64_t received = 0;  ///< bytes of the file so far
  std::uint64_t expected = 0;  ///< the announced length; 0 when unknown
};

/// Receives the file chunk by chunk; returning false cancels the download.
using ChunkHandler = std::function<bool(std::string_view chunk)>;

struct DownloadOptions {
  /// Called after every chunk; returning false cancels the download.
  std::function<bool(const TransferProgress&)> onProgress;
  /// Bound of one attempt; unset: the client's total time-out.
  std::optional<std::chrono::milliseconds> timeout;
  /// Most bytes of the file; unset: no limit (a file does not stay in memory).
  std::optional<std::uint64_t> maxBytes;
};

}  // namespace vrex
