#include <gtest/gtest.h>

#include "vrex/data/Guid.h"

namespace vrex::data {
namespace {

constexpr const char* kText = "00112233-4455-6677-8899-aabbccddeeff";
// The usual 16-byte layout of that identifier: first three groups reversed.
constexpr GuidBytes kBytes = {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66,
                              0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff};

TEST(GuidTest, KnownIdentifierMapsToItsBytesAndHalves) {
  const Result<bcl::Guid> parsed = ParseGuid("00112233-4455-6677-8899-aabbccDDEEFF");
  ASSERT_TRUE(parsed.Ok()) << parsed.GetStatus().Message();
  EXPECT_EQ(parsed.Value().lo(), 0x6677445500112233ULL);
  EXPECT_EQ(parsed.Value().hi(), 0xffeeddccbbaa9988ULL);
  EXPECT_EQ(GuidToBytes(parsed.Value()), kBytes);
  EXPECT_EQ(FormatGuid(GuidFromBytes(kBytes)), kText);
  EXPECT_EQ(FormatGuid(bcl::Guid()), "00000000-0000-0000-0000-000000000000");

  // A failed result holds no value until a successful one is assigned to it.
  Result<bcl::Guid> assigned = ParseGuid("");
  EXPECT_FALSE(assigned.HasValue());
  assigned = parsed;
  ASSERT_TRUE(assigned.Ok() && assigned.HasValue());
  EXPECT_EQ(assigned.Value().hi(), parsed.Value().hi());

  // Two fixed64 fields put the 16-byte form on the wire as it stands.
  const std::string bytes(kBytes.begin(), kBytes.end());
  EXPECT_EQ(parsed.Value().SerializeAsString(),
            "\x09" + bytes.substr(0, 8) + "\x11" + bytes.substr(8));
}

TEST(GuidTest, RejectsAnythingButTheCanonicalForm) {
  const char* const malformed[] = {"", "00112233-4455-6677-8899-aabbccddeef",
                                   "001122334-455-6677-8899-aabbccddeeff",
                                   "00112233-4455-6677-8899-aabbccddeefg"};
  for (const char* text : malformed) {
    const Result<bcl::Guid> parsed = ParseGuid(text);
    EXPECT_FALSE(parsed.Ok()) << text;
    EXPECT_NE(parsed.GetStatus().Message().find(text), std::string::npos)
        << parsed.GetStatus().Message();
  }
}

}  // namespace
}  // namespace vrex::data
