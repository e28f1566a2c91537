#pragma once
// Columns aligned for the terminal: a header line and one line per row, the
// columns two blanks apart, the last one not padded.

#include <string>
#include <vector>

namespace vrex::cli {

class TextTable {
 public:
  explicit TextTable(std::vector<std::string> headers);

  /// A row with as many cells as headers (missing cells are empty), control
  /// characters escaped.
  void AddRow(std::vector<std::string> cells);
  bool Empty() const { return rows_.empty(); }

  std::string Render() const;

 private:
  std::vector<std::string> headers_;
  std::vector<std::vector<std::string>> rows_;
};

/// The width of `text` on a terminal, counting UTF-8 characters, not bytes.
std::size_t DisplayWidth(const std::string& text);

}  // namespace vrex::cli
