#include "MeasurementRequest.h"

#include "vrex/data/Clavis.h"

namespace vrex::cli {

namespace dc = ::Korvan::KQ::DataContracts;

namespace {

Result<dc::ClavisFilter> BuildClavisFilter(const std::vector<std::string>& claves) {
  dc::ClavisFilter filter;
  for (const std::string& text : claves) {
    auto clavis = data::ParseClavis(text);
    if (!clavis.Ok()) {
      return Result<dc::ClavisFilter>::Failure("--clavis " + clavis.GetStatus().Message() +
                                               ", as `vrex measurements` shows them");
    }
    *filter.add_items() = std::move(clavis).Value();
  }
  return Result<dc::ClavisFilter>::Success(std::move(filter));
}

Result<MeasurementRequest> BuildMeasurementRequest(const SelectionArguments& selection,
                                                   const std::vector<int>& ids,
                                                   const dc::ClavisFilter& quantities,
                                                   const data::LineTimeZone& zone, SystemTime now) {
  const bool restricted = quantities.items_size() > 0;
  if (!ids.empty()) {
    auto query = MakeByIdQuery<dc::MeasurementByIdQuery>(selection, ids);
    if (restricted) *query.mutable_clavis() = quantities;
    return Result<MeasurementRequest>::Success(std::move(query));
  }
  const auto filters = BuildSelectionFilters(selection, zone, now);
  if (!filters.Ok()) {
    return Result<MeasurementRequest>::Failure(filters.GetStatus().Message());
  }
  dc::MeasurementQuery query;
  ApplySelection(selection, filters.Value(), query);
  if (restricted) *query.mutable_clavis() = quantities;
  return Result<MeasurementRequest>::Success(std::move(query));
}

}  // namespace

std::string RequestName(const MeasurementRequest& request) {
  return std::holds_alternative<dc::MeasurementQuery>(request) ? "MeasurementQuery"
                                                               : "MeasurementByIdQuery";
}

void AddTestChoiceArguments(CLI::App& command, SelectionArguments& selection,
                            std::vector<int>& ids) {
  AddSelectionArguments(command, selection);
  command.add_option("--id", ids,
                     "Only the tests with these identifiers (repeatable; the filters are then "
                     "not used)");
}

Result<PreparedRequest> PrepareMeasurementRequest(const SelectionArguments& selection,
                                                  const std::vector<int>& ids,
                                                  const std::vector<std::string>& claves,
                                                  const Client& client, Console& console,
                                                  bool verbose) {
  const auto quantities = BuildClavisFilter(claves);
  if (!quantities.Ok()) {
    return Result<PreparedRequest>::Failure(quantities.GetStatus());
  }
  auto zone = std::make_shared<LineZoneLookUp>(client, selection.factory, selection.line, verbose);
  // Requests by identifier do not depend on the zone: they go out while the
  // topology is still on its way.
  auto request =
      ids.empty()
          ? BuildMeasurementRequest(selection, ids, quantities.Value(), zone->Get(console),
                                    std::chrono::system_clock::now())
          : BuildMeasurementRequest(selection, ids, quantities.Value(), data::LineTimeZone::Utc(), {});
  if (!request.Ok()) {
    return Result<PreparedRequest>::Failure(request.GetStatus());
  }
  return Result<PreparedRequest>::Success(
      {std::move(request).Value(), quantities.Value(), std::move(zone)});
}

}  // namespace vrex::cli
