#pragma once
// The measurement query the options ask for, shared by `vrex measurements`
// and `vrex plot`: by test identifier when --id is given (the selection
// filters are then not used), else by the selection; restricted to the
// quantities of --clavis.

#include <string>
#include <variant>
#include <vector>

#include "ClavisFilter.pb.h"
#include "MeasurementByIdQuery.pb.h"
#include "MeasurementQuery.pb.h"
#include "SelectionOptions.h"
#include "vrex/Client.h"

namespace vrex::cli {

using MeasurementRequest = std::variant<Korvan::KQ::DataContracts::MeasurementByIdQuery,
                                        Korvan::KQ::DataContracts::MeasurementQuery>;

/// A by-identifier query (tests or measurements) of the selection's line.
template <class ByIdQuery>
ByIdQuery MakeByIdQuery(const SelectionArguments& selection, const std::vector<int>& ids) {
  ByIdQuery query;
  query.set_factory(selection.factory);
  query.set_line(selection.line);
  for (const int id : ids) {
    query.add_identifier(id);
  }
  return query;
}

/// The quantities of --clavis; fails on one that is not six parts.
Result<Korvan::KQ::DataContracts::ClavisFilter> BuildClavisFilter(
    const std::vector<std::string>& claves);

/// Fails when the time options do not read. A filter without items asks for
/// every quantity.
Result<MeasurementRequest> BuildMeasurementRequest(
    const SelectionArguments& selection, const std::vector<int>& ids,
    const Korvan::KQ::DataContracts::ClavisFilter& quantities, const LineTimeZone& zone,
    SystemTime now);

}  // namespace vrex::cli
