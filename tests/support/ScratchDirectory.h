#pragma once
// A fresh directory under the system's temporary directory, removed with
// everything in it when the object goes.

#include <filesystem>
#include <string_view>

namespace vrex::testing {

class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  /// Writes `content` to the file `name` in the directory; returns its path.
  std::filesystem::path Write(std::string_view name, std::string_view content) const;

 private:
  std::filesystem::path path_;
};

}  // namespace vrex::testing
