#include <gtest/gtest.h>

#include <cstdint>

#include "vrex/data/Decimal.h"

namespace vrex::data {
namespace {

TEST(DecimalTest, TextAndMessageConvertBothWaysExactly) {
  constexpr std::uint64_t kAll64 = ~0ULL;
  constexpr std::uint32_t kAll32 = ~0U;
  struct Case {
    std::uint64_t lo;
    std::uint32_t hi;
    std::uint32_t signScale;  // bit 0 sign, bits 1-16 scale
    const char* text;
  } const cases[] = {{0, 0, 0, "0"},
                     {1230, 0, 2 << 1 | 1, "-12.30"},
                     {0, 0, 2 << 1 | 1, "-0.00"},
                     {5, 0, 3 << 1, "0.005"},
                     {0, 1, 0, "18446744073709551616"},
                     {kAll64, kAll32, 0, "79228162514264337593543950335"},
                     {kAll64, kAll32, 28 << 1 | 1, "-7.9228162514264337593543950335"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    bcl::Decimal number;
    number.set_lo(c.lo);
    number.set_hi(c.hi);
    number.set_signscale(c.signScale);
    EXPECT_EQ(FormatDecimal(number).Value(), c.text);
    const Result<bcl::Decimal> parsed = ParseDecimal(c.text);
    ASSERT_TRUE(parsed.Ok()) << parsed.GetStatus().Message();
    EXPECT_EQ(parsed.Value().SerializeAsString(), number.SerializeAsString());
  }
  EXPECT_EQ(FormatDecimal(ParseDecimal("+0007.50").Value()).Value(), "7.50");
}

TEST(DecimalTest, RejectsMalformedTextAndMessagesWithoutRounding) {
  const char* const malformed[] = {
      "",
      "-",
      "1.",
      ".5",
      "1e5",
      "1.2.3",
      "79228162514264337593543950336",    // 2^96
      "0.00000000000000000000000000001",  // 29 digits after the point
  };
  for (const char* text : malformed) {
    const Result<bcl::Decimal> parsed = ParseDecimal(text);
    EXPECT_FALSE(parsed.Ok()) << '"' << text << '"';
    EXPECT_NE(parsed.GetStatus().Message().find(std::string("\"") + text + "\""), std::string::npos)
        << parsed.GetStatus().Message();
  }
  for (const std::uint32_t signScale : {29U << 1, 1U << 17}) {
    bcl::Decimal number;
    number.set_signscale(signScale);
    EXPECT_FALSE(FormatDecimal(number).Ok()) << signScale;
  }
}

}  // namespace
}  // namespace vrex::data
