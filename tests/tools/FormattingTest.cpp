// The pure parts of vrex: exit codes, failure messages, units, tables, CSV,
// numbers, progress and trace lines.

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
#include "WireTrace.h"

namespace vrex::cli {
namespace {

namespace dc = ::Korvan::KQ::DataContracts;
namespace en = ::Korvan::KQ::DataContracts::Enumerator;
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
      {Event::HttpStatusFailed, 302, ExitCode::ServerFailed},
      {Event::HttpStatusFailed, 204, ExitCode::ServerFailed},
      {Event::AnswerUnreadable, 200, ExitCode::BadAnswer},
      {Event::FileFailed, 200, ExitCode::FileFailed},
  };
  for (const auto& [event, status, code] : cases) {
    EXPECT_EQ(ExitCodeFor(MakeOutcome(event, status)), code) << ToString(event) << " " << status;
  }
}

TEST(FailureMessages, NameTheCauseAndANextStep) {
  const std::string url = "http://host:8080";
  EXPECT_EQ(DescribeFailure(MakeOutcome(Event::TransportFailed, 0,
                                        "Failed to connect to host port 8080 after 0 ms: "
                                        "Couldn't connect to server"),
                            url, "Connection refused"),
            "cannot reach http://host:8080: Connection refused (is the server running? check "
            "the URL)");
  EXPECT_EQ(DescribeFailure(MakeOutcome(Event::HttpStatusFailed, 401), url),
            "server rejected the request: HTTP 401 (ApiPipeline_Unauthorized) \u2014 check the "
            "gateway token (--token or VREX_TOKEN)");
  EXPECT_THAT(DescribeFailure(MakeOutcome(Event::TransportFailed, 0,
                                          "Operation timed out after 500 milliseconds"),
                              url),
              HasSubstr("raise --timeout"));
  EXPECT_THAT(DescribeFailure(MakeOutcome(Event::TransportFailed, 0,
                                          "SSL certificate problem: self-signed certificate"),
                              url),
              HasSubstr("--cacert"));
  EXPECT_THAT(DescribeFailure(MakeOutcome(Event::HttpStatusFailed, 301), url),
              HasSubstr("redirects"));
}

TEST(Units, AreWrittenWithPrefixPowerAndScale) {
  const auto unit = [](en::UnitId id, int exponent, int power, en::Scale scale, float logRef) {
    dc::Unit value;
    value.set_id(id);
    value.set_exponent(exponent);
    value.set_power(power);
    value.set_scale(scale);
    value.set_logref(logRef);
    return value;
  };
  EXPECT_EQ(DescribeUnit(unit(en::pascal, 0, 0, en::Linear, 0)), "Pa");
  EXPECT_EQ(DescribeUnit(unit(en::volt, -3, 1, en::Linear, 0)), "mV");
  EXPECT_EQ(DescribeUnit(unit(en::pascal, 0, 2, en::Linear, 0)), "Pa^2");
  EXPECT_EQ(DescribeUnit(unit(en::pascal, 0, 0, en::Decibel, 2e-05F)), "dB re 2e-05 Pa");
  EXPECT_EQ(DescribeUnit(unit(en::invalid, 0, 0, en::Decibel, 0)), "dB");
  EXPECT_EQ(DescribeUnit(unit(en::hertz, 2, 0, en::Linear, 0)), "10^2 Hz");
  EXPECT_EQ(DescribeUnit(unit(en::invalid, 0, 0, en::Linear, 0)), "");
}

TEST(Tables, AlignColumnsByCharactersNotBytes) {
  TextTable table({"NAME", "VALUE"});
  table.AddRow({"\u00b5V", "1"});
  table.AddRow({"volt", "2"});
  EXPECT_EQ(table.Render(), "NAME  VALUE\n\u00b5V    1\nvolt  2\n");
}

TEST(Csv, QuotesOnlyWhatRfc4180Requires) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"plain text", "plain text"},     {"a,b", "\"a,b\""},   {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"two\nlines", "\"two\nlines\""}, {"cr\r", "\"cr\r\""}, {"", ""}};
  for (const auto& [text, field] : cases) EXPECT_EQ(CsvField(text), field) << text;
  EXPECT_EQ(CsvRecord({"a", "", "b,c"}), "a,,\"b,c\"\r\n");
}

TEST(Numbers, AreShortYetExact) {
  EXPECT_EQ(FloatText(72.4F), "72.4");
  EXPECT_EQ(FloatText(-0.013F), "-0.013");
  EXPECT_EQ(AxisText(20.0 + 6 * static_cast<double>(0.1F)), "20.6");
  EXPECT_EQ(AxisText(12345678.9), "12345679");
  EXPECT_EQ(AxisText(std::nan("")), "");
}

TEST(Progress, ShowsShareAndBytesOrBytesAlone) {
  EXPECT_EQ(RenderProgress(512, 1024), "[###############               ]  50%  512 B of 1.0 KiB");
  EXPECT_EQ(RenderProgress(3 * 1024 * 1024, 0), "3.0 MiB received");
  EXPECT_EQ(RenderProgress(2048, 1024).substr(0, 37), "[##############################] 100%");
}

TEST(Progress, RedrawsOnlyWhenTheTextChanges) {
  std::ostringstream terminal;
  ProgressBar bar(terminal);
  bar.Update(10, 0);
  bar.Update(10, 0);
  bar.Update(2000, 0);
  bar.Finish();
  EXPECT_EQ(terminal.str(), "\r10 B received\r2.0 KiB received\n");
}

TEST(Trace, PrefixesEachLineByDirection) {
  EXPECT_EQ(FormatTraceEvent(WireTraceKind::RequestHeaders, "POST /api/X HTTP/1.1\r\nA: b\r\n\r\n"),
            "> POST /api/X HTTP/1.1\n> A: b\n");
  EXPECT_EQ(FormatTraceEvent(WireTraceKind::ResponseHeader, "HTTP/1.1 200 OK\r\n"),
            "< HTTP/1.1 200 OK\n");
  EXPECT_EQ(FormatTraceEvent(WireTraceKind::Info, "Trying 127.0.0.1:80...\n"),
            "* Trying 127.0.0.1:80...\n");
}

}  // namespace
}  // namespace vrex::cli
