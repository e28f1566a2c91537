// Times typed on the command line, read in a line's zone.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TimeArguments.h"

namespace vrex::cli {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

SystemTime Utc(std::int64_t secondsSince1970) { return SystemTime(seconds(secondsSince1970)); }

const data::LineTimeZone kBerlin = data::LineTimeZone::Named("Europe/Berlin", minutes(60));

TEST(RelativeSpans, AreReadInEveryUnitAndCombination) {
  const std::vector<std::pair<std::string, seconds>> cases = {
      {"30s", seconds(30)}, {"15m", minutes(15)},  {"2h", hours(2)},
      {"1d", hours(24)},    {"1w", hours(7 * 24)}, {"1h30m", minutes(90)},
      {"36500d", hours(36500 * 24)},
  };
  for (const auto& [text, span] : cases) {
    const auto parsed = ParseRelativeSpan(text);
    ASSERT_TRUE(parsed.Ok()) << text << ": " << parsed.GetStatus().Message();
    EXPECT_EQ(parsed.Value(), span) << text;
  }
  for (const char* bad : {"", "h", "2", "2x", "0h", "-2h", "2 h", "36501d", "300000d", "99999999999s"}) {
    EXPECT_FALSE(ParseRelativeSpan(bad).Ok()) << bad;
  }
}

TEST(TimeArguments, HonourOffsetsOrTheLinesZoneOrGoBackFromNow) {
  struct Case {
    std::string text;
    std::int64_t utcSeconds;
  };
  // 2024-03-12 is winter time in Berlin (+01:00), 2024-07-01 summer time (+02:00).
  const std::vector<Case> cases = {
      {"2024-03-12T08:00:00Z", 1'710'230'400},
      {"2024-03-12T08:00:00+01:00", 1'710'226'800},
      {"2024-03-12T08:00-0530", 1'710'250'200},
      {"2024-03-12T08:00", 1'710'226'800},
      {"2024-03-12 08:00:00", 1'710'226'800},
      {"2024-07-01T08:00", 1'719'813'600},
      {"2024-03-12", 1'710'198'000},
      {"2024-02-29T23:59:59.5Z", 1'709'251'199},
      {"2h", -7'200},  // a span back from "now", here 1970
  };
  for (const Case& testCase : cases) {
    const auto parsed = ParseTimeArgument(testCase.text, Utc(0), kBerlin);
    ASSERT_TRUE(parsed.Ok()) << testCase.text << ": " << parsed.GetStatus().Message();
    EXPECT_EQ(std::chrono::floor<seconds>(parsed.Value()), Utc(testCase.utcSeconds))
        << testCase.text;
  }
}

TEST(Iso8601Arguments, RejectWhatIsNoTime) {
  for (const char* bad : {"2024-13-01", "2023-02-29", "2024-03-12T25:00", "2024-03-12T08",
                          "12.03.2024", "2024-03-12T08:00+1", "2024-03-12T08:00:00Zjunk"}) {
    const auto parsed = ParseTimeArgument(bad, Utc(0), kBerlin);
    EXPECT_FALSE(parsed.Ok()) << bad;
  }
}

}  // namespace
}  // namespace vrex::cli
