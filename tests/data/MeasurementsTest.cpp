#include <gtest/gtest.h>

#include "vrex/data/Clavis.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/TestSelection.h"
#include "vrex/data/Time.h"

namespace vrex::data {
namespace {

namespace contracts = Korvan::KQ::DataContracts;
using contracts::Enumerator::DataType;

contracts::Clavis MakeClavis(const char* mode, const char* instrument = "",
                             const char* channel = "") {
  contracts::Clavis clavis;
  clavis.set_mode(mode);
  clavis.set_instrument(instrument);
  clavis.set_channel(channel);
  return clavis;
}

contracts::MeasurementValue ScalarValue(float number) {
  contracts::MeasurementValue value;
  value.mutable_scalar()->set_value(number);
  return value;
}

TEST(ClavisTest, EveryPartCountsAndBordersBetweenPartsMatter) {
  // The empty key and six keys with "x" in one part each are seven keys.
  ClavisMap<int> map{{contracts::Clavis(), 0}};
  for (int part = 0; part < 6; ++part) {
    contracts::Clavis key;
    key.GetReflection()->SetString(&key, key.GetDescriptor()->field(part), "x");
    map[key] = part + 1;
  }
  ASSERT_EQ(map.size(), 7U);
  contracts::Clavis sensorOnly;
  sensorOnly.set_sensor("x");
  EXPECT_EQ(map.at(sensorOnly), 6);

  EXPECT_TRUE(ClavisEqual{}(MakeClavis("a", "b"), MakeClavis("a", "b")));
  EXPECT_FALSE(ClavisEqual{}(MakeClavis("ab", ""), MakeClavis("a", "b")));
  EXPECT_NE(ClavisHash{}(MakeClavis("ab", "")), ClavisHash{}(MakeClavis("a", "b")));
  EXPECT_EQ(DescribeClavis(MakeClavis("Run", "Mic", "2")), "Run/Mic/2///");
  contracts::Clavis full = MakeClavis("Run", "Mic", "2");
  full.set_location("Front");
  full.set_instrumentparameter("Level");
  full.set_sensor("S7");
  EXPECT_TRUE(ClavisEqual{}(ParseClavis(DescribeClavis(full)).Value(), full));
  for (const char* bad : {"Run/Mic/2//", "Run/Mic/2/////", ""}) {
    EXPECT_NE(ParseClavis(bad).GetStatus().Message().find("parts"), std::string::npos) << bad;
  }
}

class ValueContainerTest : public testing::Test {
 protected:
  void SetUp() override {
    // Handle -5: key and value; 1: key only; 2: value only.
    (*container_.mutable_keys())[-5] = MakeClavis("paired");
    (*container_.mutable_values())[-5] = ScalarValue(1.5F);
    (*container_.mutable_keys())[1] = MakeClavis("unsent");
    (*container_.mutable_values())[2] = ScalarValue(2.5F);
  }
  contracts::MeasurementValueContainer container_;
};

TEST_F(ValueContainerTest, PairsByHandleAndShowsUnpairedEntries) {
  const std::vector<MeasurementEntry> entries = PairByHandle(container_);
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[0].handle, -5);
  EXPECT_EQ(entries[0].key->mode(), "paired");
  EXPECT_EQ(entries[0].value->scalar().value(), 1.5F);
  EXPECT_EQ(entries[1].handle, 1);
  EXPECT_EQ(entries[1].value, nullptr);
  EXPECT_EQ(entries[2].handle, 2);
  EXPECT_EQ(entries[2].key, nullptr);
  EXPECT_EQ(entries[2].value->scalar().value(), 2.5F);
}

TEST_F(ValueContainerTest, FindsByKeyAndSaysWhyNot) {
  EXPECT_EQ(FindValue(container_, MakeClavis("paired")).Value()->scalar().value(), 1.5F);

  const auto unsent = FindValue(container_, MakeClavis("unsent"));
  ASSERT_FALSE(unsent.Ok());
  EXPECT_NE(unsent.GetStatus().Message().find("has no value"), std::string::npos)
      << unsent.GetStatus().Message();
  const auto unknown = FindValue(container_, MakeClavis("paired", "other"));
  ASSERT_FALSE(unknown.Ok());
  EXPECT_NE(unknown.GetStatus().Message().find("not in the container"), std::string::npos)
      << unknown.GetStatus().Message();

  // A repeated key: the lowest handle with a value wins, whatever the map order.
  (*container_.mutable_keys())[9] = MakeClavis("unsent");
  (*container_.mutable_values())[9] = ScalarValue(9.0F);
  (*container_.mutable_keys())[7] = MakeClavis("unsent");
  (*container_.mutable_values())[7] = ScalarValue(7.0F);
  EXPECT_EQ(FindValue(container_, MakeClavis("unsent")).Value()->scalar().value(), 7.0F);
}

TEST(MeasurementKindTest, TellsOneKindNoneOrSeveral) {
  contracts::MeasurementValue value;
  value.set_invalid("sensor broken");
  EXPECT_EQ(KindOf(value), contracts::Enumerator::Invalid);
  value.mutable_matrix();
  EXPECT_EQ(KindOf(value), contracts::Enumerator::Matrix);
  value.mutable_scalartrack();
  EXPECT_EQ(KindOf(value), contracts::Enumerator::Unknown);
  EXPECT_EQ(KindsOf(value), (std::vector<DataType>{contracts::Enumerator::ScalarTrack,
                                                   contracts::Enumerator::Matrix}));
  // A scalar of value zero travels as an empty message and keeps its kind.
  contracts::MeasurementValue zero;
  ASSERT_TRUE(zero.ParseFromString(ScalarValue(0.0F).SerializeAsString()));
  EXPECT_EQ(KindOf(zero), contracts::Enumerator::Scalar);
}

TEST(TestSelectionTest, TheNewestTestIsChosenByTimeThenIdentifierWhateverTheOrder) {
  contracts::GeneralInformationContainer tests;
  const auto add = [&](std::int32_t id, std::int64_t seconds, int scale) {
    contracts::GeneralInformation* test = tests.add_values();
    test->set_pkident(id);
    test->mutable_measurementtime()->set_value(seconds);
    test->mutable_measurementtime()->set_scale(static_cast<bcl::DateTime_TimeSpanScale>(scale));
  };
  EXPECT_EQ(NewestTest(tests), nullptr);
  add(7, 1000, bcl::DateTime_TimeSpanScale_SECONDS);
  add(3, 2, bcl::DateTime_TimeSpanScale_HOURS);  // 7200 s: the newest so far
  add(9, 1, 9);                                  // no scale: passed over
  add(2, 7200, bcl::DateTime_TimeSpanScale_SECONDS);
  ASSERT_NE(NewestTest(tests), nullptr);
  EXPECT_EQ(NewestTest(tests)->pkident(), 3) << "equal times: the greater identifier";
  add(1, 7201, bcl::DateTime_TimeSpanScale_SECONDS);
  EXPECT_EQ(NewestTest(tests)->pkident(), 1);
  EXPECT_FALSE(NewestTests(5).topnfirst());
  EXPECT_TRUE(OldestTests(5).topnfirst());
  EXPECT_EQ(OldestTests(5).topn(), 5);
}

}  // namespace
}  // namespace vrex::data
