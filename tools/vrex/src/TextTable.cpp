#include "TextTable.h"

#include <algorithm>

#include "TerminalText.h"

namespace vrex::cli {

std::size_t DisplayWidth(const std::string& text) {
  // Continuation bytes of UTF-8 (10xxxxxx) add no width.
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  }));
}

TextTable::TextTable(std::vector<std::string> headers) : headers_(std::move(headers)) {}

void TextTable::AddRow(std::vector<std::string> cells) {
  cells.resize(headers_.size());
  for (std::string& cell : cells) cell = Printable(cell);
  rows_.push_back(std::move(cells));
}

std::string TextTable::Render() const {
  std::vector<std::size_t> widths(headers_.size(), 0);
  const auto measure = [&widths](const std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      widths[i] = std::max(widths[i], DisplayWidth(cells[i]));
    }
  };
  measure(headers_);
  std::for_each(rows_.begin(), rows_.end(), measure);

  std::string text;
  const auto renderLine = [&](const std::vector<std::string>& cells) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      line += cells[i];
      if (i + 1 < cells.size()) {
        line.append(widths[i] - DisplayWidth(cells[i]) + 2, ' ');
      }
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
  };
  renderLine(headers_);
  std::for_each(rows_.begin(), rows_.end(), renderLine);
  return text;
}

}  // namespace vrex::cli
