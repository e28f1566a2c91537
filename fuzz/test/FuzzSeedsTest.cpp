// The seeds must be inputs the targets accept and whose properties hold:
// a seed the parser refuses teaches the fuzzer nothing, and a seed that
// already breaks a property makes every run fail at once.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <memory>
#include <string_view>

#include "AnswerRoundTrip.h"
#include "CatalogTypes.h"
#include "JsonRequestRoundTrip.h"
#include "SeedCorpus.h"
#include "SlicedParseCheck.h"
#include "StubRequestProbe.h"

namespace vrex::fuzz {
namespace {

using google::protobuf::Descriptor;

const std::filesystem::path kSamplePlant = VREX_FUZZ_DEFAULT_SAMPLE_PLANT;

std::string_view Payload(const Seed& seed) { return std::string_view(seed.bytes).substr(1); }

const Descriptor& Selected(const TypeList& types, const Seed& seed) {
  return SelectType(types, static_cast<std::uint8_t>(seed.bytes.at(0)));
}

TEST(FuzzSeedsTest, AnswerSeedsParseAndRoundTrip) {
  const auto seeds = AnswerSeeds(kSamplePlant, SamplePlant{});
  ASSERT_GE(seeds.size(), 2 * AnswerTypes().size());
  for (const Seed& seed : seeds) {
    const CheckResult result = CheckAnswerRoundTrip(Selected(AnswerTypes(), seed), Payload(seed));
    EXPECT_TRUE(result.accepted) << seed.name;
    EXPECT_TRUE(result.Holds()) << seed.name << ": " << result.problem;
  }
}

TEST(FuzzSeedsTest, SlicedParseSeedsParseAlikeInSlices) {
  for (const Seed& seed : SlicedParseSeeds(AnswerSeeds(kSamplePlant, SamplePlant{}))) {
    const auto result = CheckSlicedParse(Selected(AnswerTypes(), seed), Payload(seed).substr(1),
                                         1 + static_cast<std::uint8_t>(seed.bytes.at(1)));
    EXPECT_TRUE(result.check.accepted) << seed.name;
    EXPECT_TRUE(result.check.Holds()) << seed.name << ": " << result.check.problem;
  }
}

TEST(FuzzSeedsTest, JsonRequestSeedsReadAndRoundTrip) {
  const auto seeds = JsonRequestSeeds(SamplePlant{});
  ASSERT_EQ(seeds.size(), 2 * RequestTypes().size());
  for (const Seed& seed : seeds) {
    const CheckResult result =
        CheckJsonRequestRoundTrip(Selected(RequestTypes(), seed).name(), Payload(seed));
    EXPECT_TRUE(result.accepted) << seed.name;
    EXPECT_TRUE(result.Holds()) << seed.name << ": " << result.problem;
  }
}

TEST(FuzzSeedsTest, StubRequestSeedsAreHandledByTheStub) {
  StubRequestProbe probe(kSamplePlant);
  for (const Seed& seed : StubRequestSeeds(SamplePlant{})) {
    const CheckResult result = probe.Check(seed.bytes);
    EXPECT_TRUE(result.accepted) << seed.name;
    EXPECT_TRUE(result.Holds()) << seed.name << ": " << result.problem;
  }
}

}  // namespace
}  // namespace vrex::fuzz
