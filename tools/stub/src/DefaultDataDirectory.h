#pragma once
// Where vrex-stub finds the sample plant when no --data is given.

#include <filesystem>

namespace vrex::stub {

/// The installed sample plant beside the running executable when there is
/// one (the install tree can move), else the one in the source tree the
/// executable was built from.
std::filesystem::path DefaultDataDirectory();

}  // namespace vrex::stub
