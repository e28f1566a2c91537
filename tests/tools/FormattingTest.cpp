// The pure parts of vrex: tables, CSV, numbers and progress.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "Csv.h"
#include "ProgressBar.h"
#include "TextTable.h"
#include "ValueCurves.h"
#include "ValueSummary.h"
#include "vrex/MessageJson.h"

namespace vrex::cli {
namespace {


TEST(TextTable, AlignColumnsByCharactersNotBytes) {
  TextTable table({"NAME", "VALUE"});
  table.AddRow({"\u00b5V", "1"});
  table.AddRow({"volt", "2"});
  table.AddRow({"a\tb\n", "\x1b]0;x\x07"});
  EXPECT_EQ(table.Render(),
            "NAME        VALUE\n\u00b5V          1\nvolt        2\na\\x09b\\x0a  \\x1b]0;x\\x07\n");
}

TEST(CsvText, QuotesOnlyWhatRfc4180Requires) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"plain text", "plain text"},     {"a,b", "\"a,b\""},   {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"two\nlines", "\"two\nlines\""}, {"cr\r", "\"cr\r\""}, {"", ""},
      {"tab\t\x1b[2J\x7f", "tab\t\\x1b[2J\\x7f"}, {"\xc2\x9b\xc2\xb5", "\\u009b\xc2\xb5"}};
  for (const auto& [text, field] : cases) EXPECT_EQ(CsvField(text), field) << text;
  EXPECT_EQ(CsvRecord({"a", "", "b,c"}), "a,,\"b,c\"\r\n");
}

TEST(NumberText, AreShortYetExact) {
  EXPECT_EQ(FloatText(72.4F), "72.4");
  EXPECT_EQ(FloatText(-0.013F), "-0.013");
  EXPECT_EQ(AxisText(20.0 + 6 * static_cast<double>(0.1F)), "20.6");
  EXPECT_EQ(AxisText(12345678.9), "12345679");
  EXPECT_EQ(AxisText(std::nan("")), "");
}

TEST(ProgressBar, ShowsShareAndBytesOrBytesAlone) {
  EXPECT_EQ(RenderProgress(512, 1024), "[###############               ]  50%  512 B of 1.0 KiB");
  EXPECT_EQ(RenderProgress(3 * 1024 * 1024, 0), "3.0 MiB received");
  EXPECT_EQ(RenderProgress(2048, 1024).substr(0, 37), "[##############################] 100%");
}

TEST(ProgressBar, RedrawsOnlyWhenTheTextChanges) {
  std::ostringstream terminal;
  ProgressBar bar(terminal);
  bar.Update(10, 0);
  bar.Update(10, 0);
  bar.Update(2000, 0);
  bar.Finish();
  EXPECT_EQ(terminal.str(), "\r10 B received\r2.0 KiB received\n");
}

}  // namespace
}  // namespace vrex::cli
