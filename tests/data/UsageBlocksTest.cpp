// The usage blocks of the public headers that read results, each as a
// function, so that an example that no longer compiles fails the build.
#include <gtest/gtest.h>

#include <sstream>

#include "vrex/Client.h"
#include "vrex/Contracts.h"
#include "vrex/MessageJson.h"
#include "vrex/data/Decimal.h"
#include "vrex/data/Guid.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Names.h"

namespace {

using namespace Korvan::KQ::DataContracts;  // as the blocks name the contract types

void GuidAndDecimalBlocks(std::ostream& cout) {
  vrex::Result<bcl::Guid> id = vrex::data::ParseGuid("00112233-4455-6677-8899-AABBCCDDEEFF");
  if (id) cout << vrex::data::FormatGuid(id.Value());  // lower case
  vrex::Result<bcl::Decimal> price = vrex::data::ParseDecimal("-12.30");
  if (price) cout << vrex::data::FormatDecimal(price.Value()).Value();  // -12.30
}

[[maybe_unused]] void MeasurementsNamesAndJsonBlocks(
    const MeasurementValueContainer& values, const Clavis& key, const IdNameTableStore& store,
    const ProtocolCrossReferenceData& row, ClavisFilter& filter, const vrex::Client& client) {
  auto level = vrex::data::FindValue(values, key);
  if (level && vrex::data::KindOf(*level.Value()) == Enumerator::Scalar) filter.Clear();
  vrex::data::NameIndex names(store);
  const vrex::data::CrossReferenceTables tables{"Instrument", "Parameter", "Mode", "Location"};
  auto clavis = vrex::data::ResolveCrossReference(row, names, tables);
  if (clavis) filter.add_items()->CopyFrom(clavis.Value());
  auto request = vrex::MessageFromJson("MeasurementQuery", R"({"Factory": "F1", "Line": "L1"})");
  if (!request) return;
  MeasurementContainer answer;
  vrex::Outcome outcome = client.Send(*request.Value(), answer);
}

TEST(UsageBlocksTest, PrintWhatTheirCommentsSay) {
  std::ostringstream printed;
  GuidAndDecimalBlocks(printed);
  EXPECT_EQ(printed.str(), "00112233-4455-6677-8899-aabbccddeeff-12.30");
}

}  // namespace
