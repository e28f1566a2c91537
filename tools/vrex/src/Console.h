#pragma once
// Where a command reads and writes, so that the commands can run against
// string streams in tests as well as against the terminal.

#include <cstddef>
#include <iosfwd>

namespace vrex::cli {

struct Console {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  bool outIsTerminal = false;
  bool errIsTerminal = false;
  std::size_t columns = 80;  ///< the width help text is wrapped at
};

}  // namespace vrex::cli
