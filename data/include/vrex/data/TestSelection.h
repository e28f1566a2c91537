#pragma once
// Choosing tests in the result queries (the queries with the selection
// block: GeneralInformationQuery, MeasurementQuery, DefectReportQuery, ...)
// and finding the newest test of their answers.
//
//   Korvan::KQ::DataContracts::GeneralInformationQuery query;
//   query.set_factory("Plant-North");
//   query.set_line("Line-A");
//   *query.mutable_lastn() = vrex::data::NewestTests(20);
//   auto tests = client.Send(query);
//   if (tests.Ok()) {
//     const auto* newest = vrex::data::NewestTest(tests.Value());  // nullptr: no tests
//   }
//
// The order of the answers. The contract fixes neither the order in which a
// test query answers nor which end of the selection `LastN` counts from;
// the plant's results servers, and vrex-stub's plant, do this:
//  - A query with the selection block answers the tests it selects oldest
//    first: ascending `MeasurementTime`, equal times by ascending `PkIdent`.
//    This holds whatever `LastN` says: `NewestTests(3)` answers the three
//    newest tests, the oldest of the three first.
//  - `LastN` (a TopNFilter) keeps `TopN` of the tests the other filters
//    select: the newest ones, or with `TopNFirst` true the oldest ones.
//    Together with `Time`, the newest (oldest) within the window. `TopN` 0
//    does not limit.
//  - A by-identifier query (GeneralInformationByIdQuery,
//    MeasurementByIdQuery) answers in the order of its identifiers, leaving
//    out identifiers the line does not have, and repeats.
//  - MeasurementContainer keys its measurements by `PkIdent` in a map, which
//    has no order at all: look a test up by its identifier.
// So on these servers the newest test is an answer's last one; NewestTest
// finds it by its time on any server.

#include <cstdint>

#include "GeneralInformation.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "TopNFilter.pb.h"
#include "vrex/Export.h"

namespace vrex::data {

/// `LastN` for the `count` newest tests of the selection (`TopNFirst` false).
VREX_EXPORT Korvan::KQ::DataContracts::TopNFilter NewestTests(std::int32_t count);

/// `LastN` for the `count` oldest tests of the selection (`TopNFirst` true).
VREX_EXPORT Korvan::KQ::DataContracts::TopNFilter OldestTests(std::int32_t count);

/// The test with the latest `MeasurementTime` (of equal times, the greatest
/// `PkIdent`); tests whose time cannot be read are passed over. nullptr when
/// no test is left. The pointer points into `tests`.
VREX_EXPORT const Korvan::KQ::DataContracts::GeneralInformation* NewestTest(
    const Korvan::KQ::DataContracts::GeneralInformationContainer& tests);

}  // namespace vrex::data
