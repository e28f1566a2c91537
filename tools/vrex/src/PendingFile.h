#pragma once
// A file vrex writes, complete or not at all (data::AtomicFile), whose
// temporary file a SIGINT or SIGTERM removes too.

#include <string>
#include <string_view>

#include "vrex/Result.h"
#include "vrex/data/AtomicFile.h"

namespace vrex::cli {

class PendingFile {
 public:
  /// Creates the temporary file; Status() tells whether that worked.
  explicit PendingFile(const std::string& target);
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  /// The first failure; Ok while there was none.
  Error Status() const { return Error(file_.Error()); }
  /// Where to write: the temporary file, or a device or FIFO target itself.
  std::string Path() const { return file_.Path().string(); }

  /// Adds `bytes` to what was written before.
  Error Write(std::string_view bytes);
  /// Makes what was written readable at Path() by another program.
  Error Flush();
  /// Renames the temporary file onto the target.
  Error Commit();

 private:
  // Declared before file_, so that the handler forgets the temporary file
  // only once file_ has removed it.
  struct SignalSlot {
    SignalSlot() = default;
    SignalSlot(const SignalSlot&) = delete;
    SignalSlot& operator=(const SignalSlot&) = delete;
    ~SignalSlot() { Release(); }
    void Take(const std::string& path);
    void Release();
    int index = -1;
  } slot_;
  data::AtomicFile file_;
};

/// Has SIGINT and SIGTERM remove every pending temporary file and end the
/// process with status 128 + the signal. For main().
void RemovePendingFilesOnSignals();

}  // namespace vrex::cli
