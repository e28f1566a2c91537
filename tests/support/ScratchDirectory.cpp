#include "ScratchDirectory.h"

#include <stdlib.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace vrex::testing {

ScratchDirectory::ScratchDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vrex-stub-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("cannot create a scratch directory from " + pattern);
  }
  path_ = pattern;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path ScratchDirectory::Write(std::string_view name,
                                              std::string_view content) const {
  const auto file = path_ / std::string(name);
  std::ofstream out(file, std::ios::binary);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!out) {
    throw std::runtime_error("cannot write " + file.string());
  }
  return file;
}

}  // namespace vrex::testing
