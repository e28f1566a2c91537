#include <gtest/gtest.h>

#include "vrex/data/Axes.h"
#include "vrex/data/Tracks.h"

namespace vrex::data {
namespace {

namespace contracts = Korvan::KQ::DataContracts;

void SetAxis(contracts::AxisRange* axis, float start, float delta, std::uint32_t length) {
  axis->set_start(start);
  axis->set_delta(delta);
  axis->set_length(length);
}

template <typename Element>
void AddPoints(Element* element, std::initializer_list<float> ordinates) {
  for (float y : ordinates) element->add_vectorpoints()->set_y(y);
}

TEST(AxesTest, OneAbscissaPerOrdinateZerosIncludedWhateverLengthSays) {
  contracts::Vector sent;
  SetAxis(sent.mutable_xaxisrange(), 100.0F, 0.5F, 4294967295U);
  for (float y : {0.0F, 1.5F, 0.0F}) sent.add_values()->set_y(y);
  contracts::Vector vector;
  ASSERT_TRUE(vector.ParseFromString(sent.SerializeAsString()));
  EXPECT_EQ(Abscissas(vector), (std::vector<double>{100.0, 100.5, 101.0}));

  contracts::AxisRange axis;  // a running float sum would drift by whole units
  SetAxis(&axis, 0.1F, 0.1F, 0);
  EXPECT_NEAR(AxisValues(axis, 1000001).back(), 100000.1, 1e-2);
}

TEST(AxesTest, MatrixRowsAndVectorTrackShareTheLongestAxis) {
  contracts::Matrix matrix;
  SetAxis(matrix.mutable_xaxisrange(), 1.0F, 1.0F, 3);
  SetAxis(matrix.mutable_zaxisrange(), -2.0F, 0.5F, 2);
  AddPoints(matrix.add_values(), {1.0F});
  AddPoints(matrix.add_values(), {1.0F, 0.0F, 3.0F});
  EXPECT_EQ(Abscissas(matrix), (std::vector<double>{1.0, 2.0, 3.0}));
  EXPECT_EQ(RowPositions(matrix), (std::vector<double>{-2.0, -1.5}));

  const Track track = ReadTrack(matrix);
  ASSERT_EQ(track.rows.size(), 2U);
  EXPECT_EQ(track.rows[1].z, -1.5);
  EXPECT_EQ(track.rows[1].ordinates, (std::vector<float>{1.0F, 0.0F, 3.0F}));
}

class TrackAcrossTestsTest : public testing::Test {
 protected:
  void SetUp() override {
    contracts::VectorTrack* track = answer_.mutable_vectortrack();
    SetAxis(track->mutable_xaxisrange(), 10.0F, 10.0F, 2);
    // Tests 10, 20 and 30 answered; rows for 20, 10, a fraction and an unknown test.
    for (const float z : {20.0F, 10.0F, 10.5F, 99.0F, 3e10F}) {
      contracts::VectorTrackElement* element = track->add_values();
      element->set_z(z);
      AddPoints(element, {0.0F, z});
    }
    for (const int id : {10, 20, 30}) {
      (*answer_.mutable_measurementinfos())[id].mutable_generalinformation()->set_pkident(id);
    }
  }
  contracts::VectorTrackOfMeasurementsContainer answer_;
};

TEST_F(TrackAcrossTestsTest, MatchesRowsToTestsByIdentifierAndListsTheRest) {
  const Track track = TrackAcrossTests(answer_, TrackZ::TestIdentifier);
  EXPECT_EQ(track.abscissas, (std::vector<double>{10.0, 20.0}));
  ASSERT_EQ(track.rows.size(), 5U);
  ASSERT_NE(track.rows[0].test, nullptr);
  EXPECT_EQ(track.rows[0].test->generalinformation().pkident(), 20);
  EXPECT_EQ(track.rows[0].ordinates, (std::vector<float>{0.0F, 20.0F}));
  ASSERT_NE(track.rows[1].test, nullptr);
  EXPECT_EQ(track.rows[1].test->generalinformation().pkident(), 10);
  for (std::size_t i = 2; i < track.rows.size(); ++i) EXPECT_EQ(track.rows[i].test, nullptr) << i;
  EXPECT_EQ(track.testsWithoutRow, (std::vector<std::int32_t>{30}));
}

TEST_F(TrackAcrossTestsTest, UnknownZMatchesNothing) {
  const Track track = TrackAcrossTests(answer_, TrackZ::Unknown);
  for (const TrackRow& row : track.rows) EXPECT_EQ(row.test, nullptr);
  EXPECT_EQ(track.testsWithoutRow, (std::vector<std::int32_t>{10, 20, 30}));
  EXPECT_EQ(track.rows[2].z, 10.5);
}

}  // namespace
}  // namespace vrex::data
