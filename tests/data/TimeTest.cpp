#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <optional>
#include <tuple>

#include "vrex/data/Iso8601.h"
#include "vrex/data/Time.h"

namespace vrex::data {
namespace {

using std::chrono::duration_cast;
using Scale = bcl::DateTime_TimeSpanScale;
using std::chrono::system_clock;
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr auto kUtc = bcl::DateTime_DateTimeKind_UTC;

bcl::DateTime MakeTime(std::int64_t value, Scale scale,
                       bcl::DateTime_DateTimeKind kind = bcl::DateTime_DateTimeKind_UNSPECIFIED) {
  bcl::DateTime time;
  time.set_value(value);
  time.set_scale(scale);
  time.set_kind(kind);
  return time;
}

TEST(TimeTest, EachScaleReadsUpToItsLastFittingCountAndReportsTheNext) {
  const std::pair<Scale, Ticks> units[] = {
      // one unit of each scale, from std::chrono
      {bcl::DateTime_TimeSpanScale_DAYS, duration_cast<Ticks>(std::chrono::hours(24))},
      {bcl::DateTime_TimeSpanScale_HOURS, duration_cast<Ticks>(std::chrono::hours(1))},
      {bcl::DateTime_TimeSpanScale_MINUTES, duration_cast<Ticks>(std::chrono::minutes(1))},
      {bcl::DateTime_TimeSpanScale_SECONDS, duration_cast<Ticks>(std::chrono::seconds(1))},
      {bcl::DateTime_TimeSpanScale_MILLISECONDS,
       duration_cast<Ticks>(std::chrono::milliseconds(1))},
      {bcl::DateTime_TimeSpanScale_TICKS, duration_cast<Ticks>(std::chrono::nanoseconds(100))}};
  for (const auto& [scale, unit] : units) {
    SCOPED_TRACE(bcl::DateTime_TimeSpanScale_Name(scale));
    const std::int64_t last = kMax / unit.count();
    for (const std::int64_t value : {std::int64_t{-3}, last, -last}) {
      const Result<Instant> read = ToInstant(MakeTime(value, scale));
      ASSERT_TRUE(read.Ok()) << read.GetStatus().Message();
      EXPECT_EQ(read.Value().time.time_since_epoch(), value * unit);
    }
    if (unit.count() == 1) continue;
    EXPECT_FALSE(ToInstant(MakeTime(-last - 1, scale)).Ok());
    bcl::TimeSpan span;
    span.set_value(last + 1);
    span.set_scale(static_cast<bcl::TimeSpan_TimeSpanScale>(scale));
    EXPECT_NE(ToDuration(span).GetStatus().Message().find("does not fit"), std::string::npos);
  }
  EXPECT_NE(ToInstant(MakeTime(1, static_cast<Scale>(7))).GetStatus().Message().find("scale 7"),
            std::string::npos);
}

TEST(TimeTest, MinMaxIsAnExtremeNeverOneUnit) {
  const Instant greatest = ToInstant(MakeTime(1, bcl::DateTime_TimeSpanScale_MINMAX)).Value();
  EXPECT_EQ(greatest.extreme, Extreme::Max);
  EXPECT_EQ(greatest.time, TickTime::max());
  EXPECT_EQ(FormatIso8601(greatest), "max");
  EXPECT_EQ(ToDateTime(greatest).SerializeAsString(),
            MakeTime(1, bcl::DateTime_TimeSpanScale_MINMAX).SerializeAsString());
  EXPECT_EQ(ToInstant(MakeTime(-1, bcl::DateTime_TimeSpanScale_MINMAX)).Value().extreme,
            Extreme::Min);
  EXPECT_EQ(ToSystemTime(MakeTime(-1, bcl::DateTime_TimeSpanScale_MINMAX)).Value(),
            system_clock::time_point::min());
  EXPECT_EQ(FromSystemTime(system_clock::time_point::max()).scale(),
            bcl::DateTime_TimeSpanScale_MINMAX);
  for (const std::int64_t odd : {0, 2, -2})
    EXPECT_FALSE(ToInstant(MakeTime(odd, bcl::DateTime_TimeSpanScale_MINMAX)).Ok()) << odd;
  bcl::TimeSpan longest;
  longest.set_value(1);
  longest.set_scale(bcl::TimeSpan_TimeSpanScale_MINMAX);
  const Duration read = ToDuration(longest).Value();
  EXPECT_EQ(read.extreme, Extreme::Max);
  EXPECT_EQ(ToTimeSpan(read).SerializeAsString(), longest.SerializeAsString());
}

TEST(TimeTest, WritesTheCoarsestExactScaleAndReadsItBack) {
  const std::tuple<Ticks, Scale, std::int64_t> cases[] = {
      {Ticks(0), bcl::DateTime_TimeSpanScale_DAYS, 0},
      {duration_cast<Ticks>(std::chrono::hours(-48)), bcl::DateTime_TimeSpanScale_DAYS, -2},
      {duration_cast<Ticks>(std::chrono::milliseconds(-1500)),
       bcl::DateTime_TimeSpanScale_MILLISECONDS, -1500},
      {Ticks(kMin), bcl::DateTime_TimeSpanScale_TICKS, kMin}};
  for (const auto& [ticks, scale, value] : cases) {
    const bcl::DateTime written =
        ToDateTime({TickTime(ticks), Extreme::None, bcl::DateTime_DateTimeKind_LOCAL});
    EXPECT_EQ(written.SerializeAsString(),
              MakeTime(value, scale, bcl::DateTime_DateTimeKind_LOCAL).SerializeAsString());
    EXPECT_EQ(ToInstant(written).Value().time.time_since_epoch(), ticks);
  }
}

TEST(TimeTest, FormatsLikeTheCLibraryAndReadsBackOverTheFourDigitYears) {
  // Days from year 0 to year 9999, stepped by a prime to hit every month,
  // leap days and century years, each with a different time of day.
  for (std::int64_t day = -719528; day < 2932896; day += 7919) {
    const std::int64_t seconds = day * 86400 + (day * 7 % 86400 + 86400) % 86400;
    const std::int64_t fraction = (day % 10000000 + 10000000) % 10000000;
    const std::time_t asTimeT = static_cast<std::time_t>(seconds);
    std::tm parts{};
    ASSERT_NE(gmtime_r(&asTimeT, &parts), nullptr);
    char expected[64];
    std::snprintf(expected, sizeof expected, "%04d-%02d-%02dT%02d:%02d:%02d.%07lldZ",
                  parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                  parts.tm_min, parts.tm_sec, static_cast<long long>(fraction));
    const auto text = FormatIso8601(
        MakeTime(seconds * 10000000 + fraction, bcl::DateTime_TimeSpanScale_TICKS, kUtc));
    ASSERT_EQ(text.Value(), expected) << "seconds " << seconds;
    const auto read = ParseIso8601(expected);
    ASSERT_TRUE(read.Ok()) << read.GetStatus().Message();
    EXPECT_EQ(read.Value().offset, std::chrono::minutes(0));
    EXPECT_EQ(read.Value().wallClock.time_since_epoch(),
              std::chrono::seconds(seconds) + Ticks(fraction))
        << expected;
  }
}

TEST(TimeTest, ReadsTheStatedOffsetOrNone) {
  const std::pair<const char*, std::optional<std::chrono::minutes>> cases[] = {
      {"2024-03-12T08:00+01:00", std::chrono::minutes(60)},
      {"2024-03-12T08:00-0530", std::chrono::minutes(-330)},
      {"2024-03-12 08:00:00+05", std::chrono::minutes(300)},
      {"2024-03-12t08:00z", std::chrono::minutes(0)},
      {"2024-03-12", std::nullopt}};
  for (const auto& [text, offset] : cases) {
    const auto read = ParseIso8601(text);
    ASSERT_TRUE(read.Ok()) << text << ": " << read.GetStatus().Message();
    EXPECT_EQ(read.Value().offset, offset) << text;
  }
  for (const char* bad : {"2024-03-12T08:00x", "2024-03-12T08:00+1", "2024-03-12T08:00+24:00",
                          "2024-03-12T08:00+:30", "2024-03-12T24:00"}) {
    EXPECT_FALSE(ParseIso8601(bad).Ok()) << bad;
  }
}

TEST(TimeTest, FormatsPreEpochKindsAndTheEndsOfTheTickRange) {
  const std::pair<bcl::DateTime, const char*> cases[] = {
      {MakeTime(-1, bcl::DateTime_TimeSpanScale_TICKS, kUtc), "1969-12-31T23:59:59.9999999Z"},
      {MakeTime(-1, bcl::DateTime_TimeSpanScale_DAYS, bcl::DateTime_DateTimeKind_LOCAL),
       "1969-12-31T00:00:00.0000000"},
      // 0000-03-01 minus one 400-year cycle of 146097 days, and the leap
      // day before it: the border of a calendar era before year 0.
      {MakeTime(-719468 - 146097, bcl::DateTime_TimeSpanScale_DAYS),
       "-000400-03-01T00:00:00.0000000"},
      {MakeTime(-719468 - 146098, bcl::DateTime_TimeSpanScale_DAYS),
       "-000400-02-29T00:00:00.0000000"},
      // Ends of the range, checked against GNU date.
      {MakeTime(kMax, bcl::DateTime_TimeSpanScale_TICKS, kUtc), "+031197-09-14T02:48:05.4775807Z"},
      {MakeTime(kMin, bcl::DateTime_TimeSpanScale_TICKS), "-027258-04-19T21:11:54.5224192"}};
  for (const auto& [time, text] : cases) EXPECT_EQ(FormatIso8601(time).Value(), text);
}

TEST(TimeTest, SystemClockConversionReportsOverflowAndRoundsDown) {
  EXPECT_EQ(ToSystemTime(MakeTime(1, bcl::DateTime_TimeSpanScale_DAYS)).Value(),
            system_clock::time_point(std::chrono::hours(24)));
  // Year 2298: far inside the tick range, beyond 64-bit nanoseconds.
  const auto late = ToSystemTime(MakeTime(120000, bcl::DateTime_TimeSpanScale_DAYS));
  EXPECT_NE(late.GetStatus().Message().find("2298-07-20"), std::string::npos)
      << late.GetStatus().Message();
  EXPECT_EQ(
      FromSystemTime(system_clock::time_point(std::chrono::nanoseconds(-1))).SerializeAsString(),
      MakeTime(-1, bcl::DateTime_TimeSpanScale_TICKS, kUtc).SerializeAsString());
}

}  // namespace
}  // namespace vrex::data
