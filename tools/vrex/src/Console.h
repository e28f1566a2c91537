#pragma once
// Where a command reads and writes, so that the commands can run against
// string streams in tests as well as against the terminal.

#include <cstddef>
#include <iosfwd>

namespace vrex::cli {

/// The width of a terminal that does not say its own.
inline constexpr std::size_t kDefaultColumns = 80;

struct Console {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  bool outIsTerminal = false;
  bool errIsTerminal = false;
  std::size_t columns = kDefaultColumns;  ///< the width help text is wrapped at
};

/// The process's standard streams, with the width of the terminal: $COLUMNS
/// when set, else the terminal's own, else 80.
Console TerminalConsole();

}  // namespace vrex::cli
