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
// The order of the answers. `LastN` takes the last `TopN` tests of the
// selection's order, with `TopNFirst` the first ones; the contract fixes
// neither that order nor the order in which a test query answers, so code
// meant for any server relies on neither: it picks the newest test by
// its time (NewestTest) and looks measurements up by identifier.
// vrex-stub's plant, which tests run against, answers like this:
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
// Whatever the server, MeasurementContainer keys its measurements by
// `PkIdent` in a map, which has no order at all.

#include <cstdint>

#include "GeneralInformation.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "TopNFilter.pb.h"
#include "vrex/Export.h"

namespace vrex::data {

/// `LastN` for the last `count` tests of the selection's order (`TopNFirst`
/// false): the newest, where that order is by time, as on vrex-stub.
VREX_EXPORT Korvan::KQ::DataContracts::TopNFilter NewestTests(std::int32_t count);

/// `LastN` for the first `count` tests of the selection's order
/// (`TopNFirst` true): the oldest, where that order is by time.
VREX_EXPORT Korvan::KQ::DataContracts::TopNFilter OldestTests(std::int32_t count);

/// The test with the latest `MeasurementTime` (of equal times, the greatest
/// `PkIdent`); tests whose time cannot be read are passed over. nullptr when
/// no test is left. The pointer points into `tests`.
VREX_EXPORT const Korvan::KQ::DataContracts::GeneralInformation* NewestTest(
    const Korvan::KQ::DataContracts::GeneralInformationContainer& tests);

}  // namespace vrex::data
