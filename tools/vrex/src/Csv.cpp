#include "Csv.h"

#include "TerminalText.h"

namespace vrex::cli {

std::string CsvField(std::string_view raw) {
  const std::string text = Printable(raw, LineBreaks::Keep);
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    return std::string(text);
  }
  std::string quoted = "\"";
  for (const char c : text) {
    quoted += c;
    if (c == '"') quoted += '"';
  }
  return quoted + "\"";
}

std::string CsvRecord(const std::vector<std::string>& fields) {
  std::string record;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    record += (i == 0 ? "" : ",") + CsvField(fields[i]);
  }
  return record + "\r\n";
}

}  // namespace vrex::cli
