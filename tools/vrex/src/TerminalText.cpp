#include "TerminalText.h"

#include <cstdio>

namespace vrex::cli {

namespace {

std::string Escape(const char* format, unsigned code) {
  char text[8];
  std::snprintf(text, sizeof text, format, code);
  return text;
}

bool IsKeptBreak(char c, LineBreaks lineBreaks) {
  return lineBreaks == LineBreaks::Keep && (c == '\n' || c == '\r' || c == '\t');
}

}  // namespace

std::string Printable(std::string_view text, LineBreaks lineBreaks) {
  std::string printable;
  printable.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool c1 = byte == 0xC2 && i + 1 < text.size() &&
                    (static_cast<unsigned char>(text[i + 1]) & 0xE0U) == 0x80U;
    if (c1) {
      printable += Escape("\\u%04x", static_cast<unsigned char>(text[++i]));
    } else if ((byte < 0x20 || byte == 0x7F) && !IsKeptBreak(text[i], lineBreaks)) {
      printable += Escape("\\x%02x", byte);
    } else {
      printable += text[i];
    }
  }
  return printable;
}

}  // namespace vrex::cli
