#include "HelpFormatter.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "TextTable.h"

namespace vrex::cli {

namespace {

constexpr std::size_t kNameColumn = 30;
// Command names are short; their summaries get the room.
constexpr std::size_t kCommandColumn = 16;
constexpr std::string_view kContinuation = "      ";

// Pieces of a line that may not be split: words, or for a command line also
// quoted arguments, which a line break would change.
std::vector<std::string> Tokens(const std::string& text, bool keepQuotes) {
  std::vector<std::string> tokens;
  std::string token;
  char quote = 0;
  for (const char c : text) {
    if (quote == 0 && c == ' ') {
      if (!token.empty()) tokens.push_back(token);
      token.clear();
      continue;
    }
    if (keepQuotes && (c == '\'' || c == '"') && (quote == 0 || quote == c)) {
      quote = quote == 0 ? c : 0;
    }
    token += c;
  }
  if (!token.empty()) tokens.push_back(token);
  return tokens;
}

// A command line's words, each option together with its value ("--since 1h").
std::vector<std::string> CommandTokens(const std::string& text) {
  std::vector<std::string> tokens;
  for (std::string& token : Tokens(text, true)) {
    if (!tokens.empty() && tokens.back().front() == '-' && token.front() != '-' &&
        tokens.back().find(' ') == std::string::npos) {
      tokens.back() += " " + token;
    } else {
      tokens.push_back(std::move(token));
    }
  }
  return tokens;
}

// Fills lines of at most `width` columns, keeping the line's indent;
// continuation lines get `hanging` on top of it, and a command line ends each
// broken line with " \\".
std::string WrapLine(const std::string& line, std::size_t width, const std::string& hanging,
                     bool command) {
  const std::size_t textStart = line.find_first_not_of(' ');
  if (DisplayWidth(line) <= width || textStart == std::string::npos) {
    return line + "\n";
  }
  const std::string breakMark = command ? " \\" : "";
  std::string text;
  std::string lead = line.substr(0, textStart);
  std::string current;
  const std::string words = line.substr(textStart);
  for (const std::string& token : command ? CommandTokens(words) : Tokens(words, false)) {
    if (!current.empty() &&
        DisplayWidth(lead + current) + 1 + DisplayWidth(token) + breakMark.size() > width) {
      text += lead + current + breakMark + "\n";
      lead = line.substr(0, textStart) + hanging;
      current.clear();
    }
    current += (current.empty() ? "" : " ") + token;
  }
  return text + lead + current + "\n";
}

bool IsCommandLine(const std::string& line) {
  const std::size_t start = line.find_first_not_of(' ');
  return start != std::string::npos && start > 0 &&
         (line.compare(start, 5, "vrex ") == 0 || line.compare(start, 5, "echo ") == 0);
}

// Each line of `text` wrapped on its own: prose as words, indented command
// lines with continuations, other indented lines with a hanging indent.
std::string WrapText(const std::string& text, std::size_t width) {
  std::string wrapped;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool indented = !line.empty() && line.front() == ' ';
    wrapped +=
        WrapLine(line, width, indented ? std::string(kContinuation) : "", IsCommandLine(line));
  }
  return wrapped;
}

}  // namespace

HelpFormatter::HelpFormatter(std::size_t columns) : columns_(columns) {
  // A narrow terminal keeps room for the descriptions beside the names.
  column_width(std::min(kNameColumn, columns_ / 3));
}

void HelpFormatter::SetSummary(const std::string& command, std::string summary) {
  summaries_[command] = std::move(summary);
}

std::string HelpFormatter::Entry(const std::string& name, const std::string& text,
                                 std::size_t column) const {
  std::string entry = "  " + name;
  if (text.empty()) {
    return entry + "\n";
  }
  const std::string pad(column, ' ');
  if (DisplayWidth(entry) + 1 >= column) {
    entry += "\n" + pad;
  } else {
    entry += std::string(column - DisplayWidth(entry), ' ');
  }
  // Wrapped as if the name column were blanks, which it is from the second line on.
  const std::string body = WrapLine(pad + text, std::max(columns_, column + 20), "", false);
  return entry + body.substr(column);
}

std::string HelpFormatter::make_description(const CLI::App* app) const {
  const std::string& description = app->get_description();
  return description.empty() ? "" : WrapText(description, columns_) + "\n";
}

std::string HelpFormatter::make_usage(const CLI::App* app, std::string name) const {
  return WrapText(CLI::Formatter::make_usage(app, std::move(name)), columns_);
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
  return Entry(make_option_name(option, isPositional) + make_option_opts(option),
               make_option_desc(option), get_column_width());
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
  const auto summary = summaries_.find(command->get_name());
  return Entry(command->get_name(),
               summary != summaries_.end() ? summary->second : command->get_description(),
               std::min(kCommandColumn, get_column_width()));
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
  const std::string& footer = app->get_footer();
  return footer.empty() ? "" : WrapText(footer, columns_);
}

}  // namespace vrex::cli
