#include "Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace vrex::cli {

namespace {

std::size_t TerminalColumns(int fd) {
  if (const char* columns = std::getenv("COLUMNS")) {
    const long value = std::strtol(columns, nullptr, 10);
    if (value > 0) {
      return static_cast<std::size_t>(value);
    }
  }
  winsize size{};
  if (ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return size.ws_col;
  }
  return kDefaultColumns;
}

}  // namespace

Console TerminalConsole() {
  return Console{std::cin,
                 std::cout,
                 std::cerr,
                 isatty(STDOUT_FILENO) == 1,
                 isatty(STDERR_FILENO) == 1,
                 TerminalColumns(STDOUT_FILENO)};
}

}  // namespace vrex::cli
