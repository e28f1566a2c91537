#pragma once
// A file written under a temporary name beside its target and renamed onto
// the target only when complete, so that a failure leaves neither a
// half-written file nor a changed one. An existing target that is not a
// regular file (a device such as /dev/null, a FIFO) is written directly:
// renaming a file over it would replace the device.

#include <cstdio>
#include <string>
#include <string_view>

#include "vrex/Result.h"

namespace vrex::cli {

class PendingFile {
 public:
  /// Creates the temporary file; Status() tells whether that worked.
  explicit PendingFile(std::string target);
  /// Removes the temporary file unless it was committed.
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  const Error& Status() const { return status_; }
  /// Where to write: the temporary file, or the special target itself.
  const std::string& TemporaryPath() const { return temporary_; }

  /// Writes `text` into the temporary file, replacing what it held.
  Error Write(const std::string& text) const;
  /// Adds `bytes` to what was appended before.
  Error Append(std::string_view bytes);
  /// Renames the temporary file onto the target.
  Error Commit();

 private:
  Error CannotWrite() const;

  std::string target_;
  std::string temporary_;
  Error status_;
  std::FILE* appending_ = nullptr;
  bool direct_ = false;  ///< the target is a device or FIFO, written in place
  bool committed_ = false;
};

/// Has SIGINT and SIGTERM remove every pending temporary file and end the
/// process with status 128 + the signal. For main().
void RemovePendingFilesOnSignals();

}  // namespace vrex::cli
