#pragma once
// The selection block of a result query (Time, LastN, TestRepetition, ...,
// IdRange, whatever numbers the request gives them) turned into one SQL query
// over the tests of a line. docs/plant.md gives the reading of each filter.

#include <google/protobuf/message.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "AddInfoFilter.pb.h"
#include "BaseTypeFilter.pb.h"
#include "BenchFilter.pb.h"
#include "DefectReport.pb.h"
#include "GeneralInformation.pb.h"
#include "IdRangeFilter.pb.h"
#include "ReferenceUnitFilter.pb.h"
#include "SerialNumberFilter.pb.h"
#include "ShiftOffsetFilter.pb.h"
#include "TestKindFilter.pb.h"
#include "TestRepetitionFilter.pb.h"
#include "TimeFilter.pb.h"
#include "TopNFilter.pb.h"
#include "TypeFilter.pb.h"
#include "plant/PlantLine.h"
#include "plant/Sqlite.h"
#include "plant/TestValues.h"

namespace vrex::stub::plant {

namespace dc = Korvan::KQ::DataContracts;

/// The filters a request carries; an absent one does not restrict.
struct Selection {
  std::optional<dc::TimeFilter> time;
  std::optional<dc::TopNFilter> lastN;
  std::optional<dc::TestRepetitionFilter> repetition;
  std::optional<dc::BaseTypeFilter> baseType;
  std::optional<dc::TypeFilter> type;
  std::optional<dc::BenchFilter> bench;
  std::optional<dc::SerialNumberFilter> serial;
  std::optional<dc::TestKindFilter> testKind;
  std::optional<dc::ShiftOffsetFilter> shift;
  std::optional<dc::ReferenceUnitFilter> referenceUnit;
  std::optional<dc::AddInfoFilter> addInfo;
  std::optional<dc::IdRangeFilter> idRange;
};

/// The filter `name` of `request` into `into`, when the request has one of
/// that type: the filters stand at other numbers in each request.
template <typename Filter>
void TakeFilter(const google::protobuf::Message& request, const char* name,
                std::optional<Filter>& into) {
  const google::protobuf::FieldDescriptor* field = request.GetDescriptor()->FindFieldByName(name);
  if (field == nullptr || field->message_type() != Filter::descriptor() ||
      !request.GetReflection()->HasField(request, field)) {
    return;
  }
  into.emplace().CopyFrom(request.GetReflection()->GetMessage(request, field));
}

/// The filters of `request`, found by field name.
Selection ReadSelection(const google::protobuf::Message& request);

/// `count` units of `scale` since 1970, UTC.
bcl::DateTime UtcTime(std::int64_t count,
                      bcl::DateTime_TimeSpanScale scale = bcl::DateTime_TimeSpanScale_SECONDS);

/// One test as the plant holds it.
struct TestRow {
  dc::GeneralInformation header;
  std::uint64_t seed = 0;
};

/// The tests of `line` that `selection` selects, oldest first.
std::vector<TestRow> SelectTests(SqliteDatabase& db, const PlantLine& line,
                                 const Selection& selection);

/// The binary encoding of a GeneralInformationContainer of the tests of
/// `line` that `selection` selects, oldest first: the bytes
/// SerializeDeterministically gives, without the container built.
std::string SerializedHeaders(SqliteDatabase& db, const PlantLine& line,
                              const Selection& selection);

/// The tests of `line` among `ids`, in the order of `ids`; unknown ones and
/// repeats are left out.
std::vector<TestRow> TestsById(SqliteDatabase& db, const PlantLine& line,
                               const google::protobuf::RepeatedField<std::int32_t>& ids);

/// The defects of a test, and the exceedances its values show.
struct TestDefects {
  dc::DefectReport report;
  std::vector<Exceedance> exceedances;
};

TestDefects DefectsOf(SqliteDatabase& db, std::int32_t testId);

}  // namespace vrex::stub::plant
