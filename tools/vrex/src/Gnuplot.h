#pragma once
// Running gnuplot on a generated script, and what to tell people who have
// none.

#include <string>

#include "vrex/Result.h"

namespace vrex::cli {

inline constexpr const char* kGnuplotInstallHint =
    "install it (Debian: sudo apt-get install gnuplot-nox), or write the script with "
    "--script-only and render it elsewhere with `gnuplot FILE.gp`";

/// `program` when it names a path, else its first executable on PATH;
/// empty when there is none.
std::string FindProgram(const std::string& program);

/// Why `program`, which FindProgram did not find, cannot be run: a path
/// that is not executable ("cannot run /opt/gp: No such file or
/// directory"), or a name on no directory of PATH (not installed, and how
/// to install it).
std::string WhyNotRunnable(const std::string& program);

/// Runs the gnuplot at `path` on `script` with the script's variable
/// `output` set to `output`; fails with what gnuplot complained about.
Error RunGnuplot(const std::string& path, const std::string& script, const std::string& output);

}  // namespace vrex::cli
