#include "DefaultDataDirectory.h"

#include <system_error>

namespace vrex::stub {

namespace fs = std::filesystem;

fs::path DefaultDataDirectory() {
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    const fs::path installed =
        executable.parent_path() / VREX_STUB_BIN_TO_DATA / "lVrexClient" / "sample-plant";
    if (fs::is_directory(installed, error)) {
      return installed.lexically_normal();
    }
  }
  return VREX_STUB_SOURCE_DATA_DIR;
}

}  // namespace vrex::stub
