#pragma once
// The measurement query the options ask for, shared by `vrex measurements`
// and `vrex plot`: by test identifier when --id is given (the selection
// filters are then not used), else by the selection; restricted to the
// quantities of --clavis.

#include <memory>
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

/// "MeasurementQuery" or "MeasurementByIdQuery".
std::string RequestName(const MeasurementRequest& request);

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

/// Adds the selection options and --id.
void AddTestChoiceArguments(CLI::App& command, SelectionArguments& selection,
                            std::vector<int>& ids);

/// A request, the quantities it asks for and the zone of its line, in which
/// its times were read.
struct PreparedRequest {
  MeasurementRequest request;
  Korvan::KQ::DataContracts::ClavisFilter quantities;
  std::shared_ptr<LineZoneLookUp> zone;  // asked for while the request goes out
};

/// Reads --clavis (sending nothing when it is wrong), looks up the line's
/// time zone and builds the request; fails on a quantity that is not six
/// parts or a time that does not read.
Result<PreparedRequest> PrepareMeasurementRequest(const SelectionArguments& selection,
                                                  const std::vector<int>& ids,
                                                  const std::vector<std::string>& claves,
                                                  const Client& client, Console& console,
                                                  bool verbose = false);

}  // namespace vrex::cli
