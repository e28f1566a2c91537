#pragma once
// A file that appears under its name complete or not at all: written under a
// temporary name in the same directory and renamed when committed. A target
// that is a device or a FIFO is written in place instead.

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace vrex::internal {

class AtomicFile {
 public:
  /// Creates the temporary file next to `target`; see IsOpen().
  explicit AtomicFile(std::filesystem::path target);
  /// Removes the temporary file unless it was committed.
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  bool IsOpen() const { return file_ != nullptr; }
  bool Write(std::string_view bytes);
  /// Closes the file and renames it to the target, replacing what was there.
  bool Commit();
  /// Why the last step failed; empty when none did.
  const std::string& Error() const { return error_; }

 private:
  bool Open();
  void Fail(std::string_view action, const std::filesystem::path& path, int errorNumber);

  std::filesystem::path target_;
  std::filesystem::path temporary_;
  std::FILE* file_ = nullptr;
  bool committed_ = false;
  std::string error_;
};

}  // namespace vrex::internal
