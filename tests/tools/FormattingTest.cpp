// The pure parts of vrex: exit codes, failure messages, units, tables, CSV,
// numbers and progress.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "Csv.h"
#include "FailureReport.h"
#include "ProgressBar.h"
#include "TextTable.h"
#include "Unit.pb.h"
#include "ValueCurves.h"
#include "ValueSummary.h"
#include "vrex/MessageJson.h"

namespace vrex::cli {
namespace {

namespace dc = ::Korvan::KQ::DataContracts;
using ::testing::HasSubstr;
using Event = Outcome::Event;

Outcome MakeOutcome(Event event, int status, std::string errorText = {}) {
  return Outcome("ApiVersionQuery", event, status, std::move(errorText));
}

TEST(ExitCodes, FollowTheOutcome) {
  const std::vector<std::tuple<Event, int, ExitCode>> cases = {
      {Event::Succeeded, 200, ExitCode::Ok},
      {Event::TransportFailed, 0, ExitCode::Transport},
      {Event::HttpStatusFailed, 400, ExitCode::Rejected},
      {Event::HttpStatusFailed, 499, ExitCode::Rejected},
      {Event::HttpStatusFailed, 500, ExitCode::ServerFailed},
      {Event::HttpStatusFailed, 204, ExitCode::ServerFailed},
      {Event::AnswerUnreadable, 200, ExitCode::BadAnswer},
      {Event::FileFailed, 200, ExitCode::FileFailed},
  };
  for (const auto& [event, status, code] : cases) {
    EXPECT_EQ(ExitCodeFor(MakeOutcome(event, status)), code) << ToString(event) << " " << status;
  }
}

TEST(FailureMessages, NameTheCauseAndANextStep) {
  const std::vector<std::pair<Outcome, std::string>> cases = {
      {MakeOutcome(Event::HttpStatusFailed, 401),
       "server rejected the request: HTTP 401 Unauthorized \u2014 check the gateway token "
       "(--token or VREX_TOKEN)"},
      {MakeOutcome(Event::TransportFailed, 0, "Operation timed out after 500 ms"),
       "raise --timeout"},
      {MakeOutcome(Event::TransportFailed, 0, "SSL certificate problem: self-signed"), "--cacert"},
      {MakeOutcome(Event::HttpStatusFailed, 301), "redirects"}};
  for (const auto& [outcome, text] : cases) {
    EXPECT_THAT(DescribeFailure(outcome, "http://host:8080"), HasSubstr(text));
  }
}

TEST(Units, AreWrittenWithPrefixPowerAndScale) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {R"("Id": "pascal")", "Pa"},
      {R"("Id": "volt", "Exponent": -3, "Power": 1)", "mV"},
      {R"("Id": "pascal", "Power": 2)", "Pa^2"},
      {R"("Id": "pascal", "Scale": "Decibel", "LogRef": 2e-05)", "dB re 2e-05 Pa"},
      {R"("Scale": "Decibel")", "dB"},
      {R"("Id": "hertz", "Exponent": 2)", "10^2 Hz"},
      {"", ""}};
  for (const auto& [json, text] : cases) {
    dc::Unit unit;
    ASSERT_EQ(MergeJsonInto("{" + json + "}", unit), "");
    EXPECT_EQ(DescribeUnit(unit), text) << json;
  }
}

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
