// A line's times as its clocks read them, from the system's time-zone
// database (its table of changes, and beyond it the rule in its footer).

#include <gtest/gtest.h>

#include <cstdlib>

#include "ScratchDirectory.h"
#include "vrex/data/LineTimeZone.h"
#include "vrex/data/Time.h"

namespace vrex::data {
namespace {

using std::chrono::minutes;
using SystemTime = LineTimeZone::SystemTime;

SystemTime Utc(std::int64_t secondsSince1970) {
  return SystemTime(std::chrono::seconds(secondsSince1970));
}

const LineTimeZone kBerlin = LineTimeZone::Named("Europe/Berlin", minutes(60));

TEST(LineTimes, AreShownWithTheOffsetInForceThen) {
  const LineTimeZone chicago = LineTimeZone::Named("America/Chicago", minutes(-360));
  const LineTimeZone sydney = LineTimeZone::Named("Australia/Sydney", minutes(600));
  const LineTimeZone dubai = LineTimeZone::Named("Asia/Dubai", minutes(0));
  const std::vector<std::tuple<const LineTimeZone*, std::int64_t, std::string>> cases = {
      {&kBerlin, 1'719'813'600, "2024-07-01T08:00:00+02:00"},
      {&kBerlin, 1'710'223'091, "2024-03-12T06:58:11+01:00"},
      // 2040 lies beyond the database's table: its footer's rule holds.
      {&kBerlin, 2'224'735'200, "2040-07-01T08:00:00+02:00"},
      {&kBerlin, 2'210'241'600, "2040-01-15T13:00:00+01:00"},
      {&kBerlin, 2'216'250'000, "2040-03-25T03:00:00+02:00"},  // the last Sunday of March
      {&dubai, 1'710'223'091, "2024-03-12T09:58:11+04:00"},    // a rule named "<+04>"
      {&chicago, 2'215'065'599, "2040-03-11T01:59:59-06:00"},
      {&chicago, 2'215'065'600, "2040-03-11T03:00:00-05:00"},
      {&sydney, 2'210'198'400, "2040-01-15T11:00:00+11:00"},
      {&sydney, 2'225'923'200, "2040-07-15T10:00:00+10:00"},
  };
  for (const auto& [zone, seconds, text] : cases) {
    EXPECT_EQ(zone->Format(Utc(seconds)), text) << zone->Name();
  }
  const auto chicagoWithoutDatabase = LineTimeZone::Named("Nowhere/Unknown", minutes(-360));
  EXPECT_EQ(chicagoWithoutDatabase.Format(Utc(1'710'223'091)), "2024-03-11T23:58:11-06:00");
  EXPECT_EQ(LineTimeZone::Utc().Format(Utc(1'710'223'091)), "2024-03-12T05:58:11Z");
}

// A zone file of version 2 without transitions: its one type (UTC-03:00)
// before the footer's rule `footer`, which holds at every time it can be read.
std::string ZoneFileWithRule(const std::string& footer) {
  const std::string counts("\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\0\0\4", 24);
  const std::string header = "TZif2" + std::string(15, '\0') + counts;
  const std::string block("\xff\xff\xd5\xd0\0\0XYZ\0", 10);  // -10800 s, no DST, "XYZ"
  return header + block + header + block + "\n" + footer + "\n";
}

TEST(LineTimes, FollowTheRuleAfterTheLastChange) {
  const testing::ScratchDirectory database;
  setenv("TZDIR", database.Path().c_str(), 1);
  const std::int64_t summer = 1'719'792'000;  // 2024-07-01T00:00Z
  const std::int64_t winter = 1'705'276'800;  // 2024-01-15T00:00Z
  const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
      {"XST-1XDT,M3.5.0,M10.5.0/3", "+02:00", "+01:00"},
      {"XST-1XDT-3,M3.5.0,M10.5.0/3", "+03:00", "+01:00"},
      {"XST-1XDT,J60,J300", "+02:00", "+01:00"},
      {"XST-1XDT,M3.5.0,M12.5.0", "+02:00", "+01:00"},
      {"XST-1XDT,59,300/1:30", "+02:00", "+01:00"},
      {"XST+5XDT", "-04:00", "-05:00"},  // no rule: the US one
      {"<+0530>-5:30", "+05:30", "+05:30"},
      {"AEST-10AEDT,M10.1.0,M4.1.0/3", "+10:00", "+11:00"},
      // Rules that cannot be read leave the file's own type.
      {"XST-1XDT,M13.5.0,M10.5.0", "-03:00", "-03:00"},
      {"XST-1XDT,M3.6.0,M10.5.0", "-03:00", "-03:00"},
      {"XST-1XDT,M3.5.7,M10.5.0", "-03:00", "-03:00"},
      {"XST-1XDT,J366,J300", "-03:00", "-03:00"},
      {"XST-1XDT,M3.5.0", "-03:00", "-03:00"},
      {"XST-1XDT,M3.5,M10.5.0", "-03:00", "-03:00"},
      {"X-1", "-03:00", "-03:00"},
  };
  for (const auto& [footer, inSummer, inWinter] : cases) {
    database.Write("TestZone", ZoneFileWithRule(footer));
    const LineTimeZone zone = LineTimeZone::Named("TestZone", minutes(0));
    EXPECT_EQ(zone.Format(Utc(summer)).substr(19), inSummer) << footer;
    EXPECT_EQ(zone.Format(Utc(winter)).substr(19), inWinter) << footer;
  }
  database.Write("TestZone", "TZif2 cut short");
  EXPECT_EQ(LineTimeZone::Named("TestZone", minutes(-60)).Format(Utc(summer)).substr(19), "-01:00");
  unsetenv("TZDIR");
}

TEST(LineTimes, ComeFromTheLinesStatedZone) {
  Korvan::KQ::DataContracts::Line line;
  EXPECT_EQ(LineTimeZone::Of(line).Name(), "UTC");
  line.mutable_timezoneid()->set_ianatimezoneid("Asia/Shanghai");
  line.mutable_timezoneid()->set_utcoffsetinminutes(480);
  EXPECT_EQ(LineTimeZone::Of(line).Format(Utc(1'710'223'091)), "2024-03-12T13:58:11+08:00");
  line.mutable_timezoneid()->set_ianatimezoneid("");
  EXPECT_EQ(LineTimeZone::Of(line).Name(), "UTC+08:00");
}

TEST(LineTimes, ContractTimesKeepFractionsLocalTimesAndExtremes) {
  bcl::DateTime time = FromSystemTime(Utc(1'710'223'091) + std::chrono::milliseconds(250));
  EXPECT_EQ(kBerlin.Format(time), "2024-03-12T06:58:11.25+01:00");
  time.set_kind(bcl::DateTime_DateTimeKind_LOCAL);
  EXPECT_EQ(kBerlin.Format(time), "2024-03-12T05:58:11.25") << "a local time is shown as sent";
  bcl::DateTime greatest;
  greatest.set_scale(bcl::DateTime_TimeSpanScale_MINMAX);
  greatest.set_value(1);
  EXPECT_EQ(kBerlin.Format(greatest), "max");
}

}  // namespace
}  // namespace vrex::data
