#pragma once
// A vector track as a table: one shared x axis and one row of ordinates per
// vector, each row with its z. Serves a VectorTrack value, a Matrix value
// and the answer to a vector-track query, which gathers one quantity's
// vector across many tests.
//
//   VectorTrackOfMeasurementsContainer answer =
//       VrexClient::SendToServer(url, vectorTrackQuery, container, "");
//   vrex::data::Track track =
//       vrex::data::TrackAcrossTests(answer, vrex::data::TrackZ::TestIdentifier);
//   for (const vrex::data::TrackRow& row : track.rows) {
//     if (row.test != nullptr) std::cout << row.test->generalinformation().serial();
//     // row.ordinates[i] lies at track.abscissas[i]
//   }

#include <cstdint>
#include <vector>

#include "Matrix.pb.h"
#include "MeasurementInformation.pb.h"
#include "VectorTrack.pb.h"
#include "VectorTrackOfMeasurementsContainer.pb.h"
#include "vrex/Export.h"

namespace vrex::data {

/// One vector of a track. Zero ordinates are kept: an ordinate's place fixes
/// its abscissa.
struct TrackRow {
  double z = 0;
  std::vector<float> ordinates;
  /// The test the row belongs to (TrackAcrossTests only), or nullptr when
  /// it is unknown; points into the answer and lives as long as it.
  const Korvan::KQ::DataContracts::MeasurementInformation* test = nullptr;
};

struct Track {
  std::vector<double> abscissas;  ///< as long as the longest row
  std::vector<TrackRow> rows;     ///< in the order sent
  /// Tests of a query answer that no row was matched to, ascending (all of
  /// them under TrackZ::Unknown); empty for ReadTrack.
  std::vector<std::int32_t> testsWithoutRow;
};

/// Rows with the z each element carries.
VREX_EXPORT Track ReadTrack(const Korvan::KQ::DataContracts::VectorTrack& track);

/// Rows at the z positions of the matrix's ZAxisRange.
VREX_EXPORT Track ReadTrack(const Korvan::KQ::DataContracts::Matrix& matrix);

/// What the server put in the z of each element of a vector-track answer:
/// the server decides, and the answer does not say.
enum class TrackZ {
  Unknown,         ///< rows are not matched to tests
  TestIdentifier,  ///< z is the test's identifier (PkIdent)
};

/// The track of a vector-track answer. With TrackZ::TestIdentifier each row
/// whose z is a whole number naming an entry of `MeasurementInfos` gets that
/// test; the others keep nullptr, and tests without a row are listed. z is a
/// float, which holds whole numbers exactly only up to 16777216: larger
/// identifiers may arrive rounded and then stay unmatched.
VREX_EXPORT Track TrackAcrossTests(
    const Korvan::KQ::DataContracts::VectorTrackOfMeasurementsContainer& answer, TrackZ meaning);

}  // namespace vrex::data
