#pragma once
// A file written under a temporary name beside its target and renamed onto
// the target only when complete, so that a failure leaves neither a
// half-written file nor a changed one.

#include <string>

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
  const std::string& TemporaryPath() const { return temporary_; }

  /// Writes `text` into the temporary file.
  Error Write(const std::string& text) const;
  /// Renames the temporary file onto the target.
  Error Commit();

 private:
  std::string target_;
  std::string temporary_;
  Error status_;
  bool committed_ = false;
};

}  // namespace vrex::cli
