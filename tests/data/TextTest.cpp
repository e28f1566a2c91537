#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "vrex/data/Text.h"

namespace vrex::data {
namespace {

TEST(TextTest, ByteSizesReadAsPeopleWriteThem) {
  const struct {
    const char* text;
    std::uint64_t bytes;  // 0 with `fails`
    bool fails;
  } cases[] = {
      {"1048576", 1048576, false},    {"512M", 512ULL << 20, false}, {"2G", 2ULL << 30, false},
      {"1.5k", 1536, false},          {"64MiB", 64ULL << 20, false}, {"3gb", 3ULL << 30, false},
      {"1T", 1ULL << 40, false},      {"0", 0, false},               {"", 0, true},
      {"M", 0, true},                 {"12X", 0, true},              {"1.2.3M", 0, true},
      {"99999999999T", 0, true},      {"-5M", 0, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.text);
    const auto size = ParseByteSize(row.text);
    EXPECT_EQ(size.Ok(), !row.fails) << size.GetStatus().Message();
    if (size.Ok()) {
      EXPECT_EQ(size.Value(), row.bytes);
    }
  }
  EXPECT_EQ(FormatBytes(1023), "1023 B");
  EXPECT_EQ(FormatBytes(1536), "1.5 KiB");
  EXPECT_EQ(FormatBytes(64ULL << 20), "64.0 MiB");
  EXPECT_EQ(FormatBytes(ParseByteSize("2G").Value()), "2.0 GiB");
}

TEST(TextTest, CaseIsIgnoredForAsciiLettersOnly) {
  EXPECT_TRUE(EqualsIgnoringCase("Content-Length", "content-LENGTH"));
  EXPECT_FALSE(EqualsIgnoringCase("Content-Length", "Content-Lengths"));
  EXPECT_FALSE(EqualsIgnoringCase("[", "{"));  // 0x5B and 0x7B differ by the case bit
}

}  // namespace
}  // namespace vrex::data
