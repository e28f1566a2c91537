#include "plant/DefectFilter.h"

#include <algorithm>

#include "plant/TestSelection.h"

namespace vrex::stub::plant {

namespace {

/// Inside one of the ranges without `Exclude` (any value when there is none)
/// and outside every range with it, both ends included: IdRange's reading.
bool InRanges(const dc::ValueRangeFilter& filter, float value) {
  bool included = true;
  for (const dc::ValueRange& range : filter.ranges()) {
    if (!range.exclude()) included = false;
  }
  for (const dc::ValueRange& range : filter.ranges()) {
    const bool inside = value >= range.min() && value <= range.max();
    if (range.exclude() && inside) return false;
    if (!range.exclude() && inside) included = true;
  }
  return included;
}

template <typename Filter, typename Item>
bool Listed(const Filter& filter, const Item& item) {
  const bool listed =
      std::find(filter.items().begin(), filter.items().end(), item) != filter.items().end();
  return listed != filter.exclude();
}

}  // namespace

std::vector<Reject> RejectsOf(SqliteDatabase& db, const std::vector<TestRow>& tests,
                              bool warnings) {
  std::vector<Reject> rejects;
  for (const TestRow& test : tests) {
    if (test.header.resultid() == 1 && !warnings) continue;
    dc::DefectReport defects = DefectsOf(db, test.header.pkident()).report;
    if (test.header.resultid() != 1 || defects.defects_size() > 0)
      rejects.push_back({&test, std::move(defects)});
  }
  return rejects;
}

bool ErrorGroupRanges::Holds(std::int32_t code) const {
  return std::any_of(ranges.begin(), ranges.end(), [code](const auto& range) {
    return code >= range.first && code <= range.second;
  });
}

std::vector<ErrorGroupRanges> LoadErrorGroups(SqliteDatabase& db, const PlantLine& line) {
  auto rows = db.Prepare(
      "SELECT g.id, g.name, i.code_from, i.code_to FROM error_group g LEFT JOIN error_group_item i"
      " ON i.error_group_id = g.id WHERE g.line_id = ?1 ORDER BY g.id, i.rowid");
  rows.BindAll(line.id);
  std::vector<ErrorGroupRanges> groups;
  while (rows.Step()) {
    if (groups.empty() || groups.back().id != rows.Int(0)) {
      groups.push_back({static_cast<std::int32_t>(rows.Int(0)), rows.Text(1), {}});
    }
    if (!rows.IsNull(2)) {
      groups.back().ranges.emplace_back(static_cast<std::int32_t>(rows.Int(2)),
                                        static_cast<std::int32_t>(rows.Int(3)));
    }
  }
  return groups;
}

DefectFilter::DefectFilter(SqliteDatabase& db, const PlantLine& line,
                           const google::protobuf::Message& request, bool warnings)
    : warnings_(warnings) {
  TakeFilter(request, "ErrorCode", codes_);
  TakeFilter(request, "ErrorGroup", groups_);
  TakeFilter(request, "ErrorPosition", positions_);
  if (groups_) lineGroups_ = LoadErrorGroups(db, line);
}

bool DefectFilter::Selects(const dc::Defect& defect) const {
  if (codes_ && !Listed(*codes_, defect.errorcode())) return false;
  if (groups_) {
    bool named = false;
    for (const ErrorGroupRanges& group : lineGroups_) {
      named = named || (group.Holds(defect.errorcode()) &&
                        std::find(groups_->items().begin(), groups_->items().end(), group.name) !=
                            groups_->items().end());
    }
    if (named == groups_->exclude()) return false;
  }
  return !positions_ || InRanges(*positions_, defect.position());
}

std::vector<const dc::Defect*> DefectFilter::Select(
    const google::protobuf::RepeatedPtrField<dc::Defect>& defects) const {
  const bool firstOnly =
      (codes_ && codes_->firsterroronly()) || (groups_ && groups_->firsterroronly());
  std::vector<const dc::Defect*> selected;
  for (const dc::Defect& defect : defects) {
    if (!warnings_ && defect.errorresult() != kErrorResult) continue;
    if (Selects(defect)) selected.push_back(&defect);
    if (firstOnly) break;  // the first one looked at decides alone
  }
  return selected;
}

}  // namespace vrex::stub::plant
