#pragma once
// A file that appears under its name complete or not at all: written under a
// temporary name beside the target and renamed onto it by Commit(), so that
// a failure leaves neither a half-written file nor a changed one. A target
// that is a device or a FIFO (/dev/null, a pipe) is written in place:
// renaming a file over it would replace it. Downloads land in one, and so
// does every file vrex writes.
//
//   vrex::data::AtomicFile file("report.csv");
//   if (!file.Write("a,b\r\n") || !file.Commit()) std::cerr << file.Error() << '\n';

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "vrex/Export.h"

namespace vrex::data {

class VREX_EXPORT AtomicFile {
 public:
  /// Creates the temporary file beside `target`; see IsOpen() and Error().
  explicit AtomicFile(std::filesystem::path target);
  /// Removes the temporary file unless it was committed.
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  bool IsOpen() const { return file_ != nullptr; }
  /// Where the bytes go until Commit(): the temporary file, or the device
  /// itself; for a program that writes the file by name.
  const std::filesystem::path& Path() const { return temporary_.empty() ? target_ : temporary_; }
  /// Whether Path() is a temporary file that Commit() renames.
  bool IsTemporary() const { return !temporary_.empty(); }

  /// Adds `bytes` to what was written before.
  bool Write(std::string_view bytes);
  /// Hands what Write() buffered to the system, so that Path() can be read.
  bool Flush();
  /// Closes the file and renames it onto the target, replacing what was there.
  bool Commit();
  /// "cannot write TARGET: REASON" for the first step that failed; empty
  /// while none did.
  const std::string& Error() const { return error_; }

 private:
  bool Open();
  bool Fail(int errorNumber);

  std::filesystem::path target_;
  std::filesystem::path temporary_;
  std::FILE* file_ = nullptr;
  bool committed_ = false;
  std::string error_;
};

}  // namespace vrex::data
