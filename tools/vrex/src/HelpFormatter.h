#pragma once
// Help that fits the terminal: `vrex --help` lists each command on one short
// line, `vrex COMMAND --help` has the long text; every line is wrapped at the
// terminal's width, examples with a shell continuation so that they can still
// be pasted.

#include <CLI/CLI.hpp>
#include <cstddef>
#include <map>
#include <string>

namespace vrex::cli {

class HelpFormatter : public CLI::Formatter {
 public:
  explicit HelpFormatter(std::size_t columns);

  /// The line `command` gets in its parent's list of commands.
  void SetSummary(const std::string& command, std::string summary);

  std::string make_description(const CLI::App* app) const override;
  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_option(const CLI::Option* option, bool isPositional) const override;
  std::string make_subcommand(const CLI::App* command) const override;
  std::string make_footer(const CLI::App* app) const override;

 private:
  /// "  NAME    text" with the text wrapped beside the name column, below the
  /// name when the name is too wide.
  std::string Entry(const std::string& name, const std::string& text, std::size_t column) const;

  std::size_t columns_;
  std::map<std::string, std::string> summaries_;
};

}  // namespace vrex::cli
