#pragma once
// Which defects of a test a reject statistic looks at: the error filters of
// a request (ErrorCode, ErrorGroup, an error's position) and whether warnings
// count. docs/plant.md gives the reading of each.

#include <google/protobuf/message.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Defect.pb.h"
#include "DefectReport.pb.h"
#include "ErrorCodeFilter.pb.h"
#include "ErrorGroupFilter.pb.h"
#include "ValueRangeFilter.pb.h"
#include "plant/PlantLine.h"
#include "plant/Sqlite.h"
#include "plant/TestSelection.h"

namespace vrex::stub::plant {

namespace dc = Korvan::KQ::DataContracts;

/// The error result of a defect that fails its test; other values are warnings.
inline constexpr std::int32_t kErrorResult = 2;

/// A test a reject statistic counts, with its defects.
struct Reject {
  const TestRow* test;
  dc::DefectReport defects;
};

/// The rejected tests among `tests` with their defects; with `warnings`,
/// also the tests that passed with a defect (a warning).
std::vector<Reject> RejectsOf(SqliteDatabase& db, const std::vector<TestRow>& tests,
                              bool warnings = false);

/// An error group of a line and the ranges of codes it holds.
struct ErrorGroupRanges {
  std::int32_t id = 0;
  std::string name;
  std::vector<std::pair<std::int32_t, std::int32_t>> ranges;  ///< both ends included

  bool Holds(std::int32_t code) const;
};

/// The error groups of `line`, by id.
std::vector<ErrorGroupRanges> LoadErrorGroups(SqliteDatabase& db, const PlantLine& line);

class DefectFilter {
 public:
  /// The filters of `request` found by field name (`ErrorCode`, `ErrorGroup`,
  /// `ErrorPosition`); `warnings`: defects that are no error count too.
  DefectFilter(SqliteDatabase& db, const PlantLine& line, const google::protobuf::Message& request,
               bool warnings);

  /// The defects of a test that the filters select, in their order.
  std::vector<const dc::Defect*> Select(
      const google::protobuf::RepeatedPtrField<dc::Defect>& defects) const;

 private:
  bool Selects(const dc::Defect& defect) const;

  bool warnings_;
  std::optional<dc::ErrorCodeFilter> codes_;
  std::optional<dc::ErrorGroupFilter> groups_;
  std::optional<dc::ValueRangeFilter> positions_;
  std::vector<ErrorGroupRanges> lineGroups_;
};

}  // namespace vrex::stub::plant
