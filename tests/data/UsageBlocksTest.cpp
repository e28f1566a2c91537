// The usage blocks at the top of the public headers, each as a function, so
// that an example that no longer compiles fails the build. Those that need
// no server run, and print what their comments say they print.
#include <gtest/gtest.h>

#include <sstream>

#include "vrex/AnswerArena.h"
#include "vrex/Client.h"
#include "vrex/Contracts.h"
#include "vrex/MessageJson.h"
#include "vrex/data/Axes.h"
#include "vrex/data/Clavis.h"
#include "vrex/data/Decimal.h"
#include "vrex/data/Guid.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Names.h"
#include "vrex/data/Time.h"
#include "vrex/data/Tracks.h"

namespace {

using namespace Korvan::KQ::DataContracts;  // as the blocks name the contract types

void GuidBlock(std::ostream& cout) {
  vrex::Result<bcl::Guid> id = vrex::data::ParseGuid("00112233-4455-6677-8899-AABBCCDDEEFF");
  if (id) cout << vrex::data::FormatGuid(id.Value());  // lower case
}

void DecimalBlock(std::ostream& cout) {
  vrex::Result<bcl::Decimal> price = vrex::data::ParseDecimal("-12.30");
  if (price) cout << vrex::data::FormatDecimal(price.Value()).Value();  // -12.30
}

void TimeBlock(std::ostream& cout, const GeneralInformation& header) {
  auto instant = vrex::data::ToInstant(header.measurementtime());
  if (instant.Ok()) cout << vrex::data::FormatIso8601(instant.Value()) << '\n';
  bcl::DateTime now = vrex::data::FromSystemTime(std::chrono::system_clock::now());
  (void)now;
}

void MeasurementsBlock(std::ostream& cout, const MeasurementValueContainer& values,
                       const Clavis& clavis, const Clavis& a, const Clavis& b) {
  for (const vrex::data::MeasurementEntry& entry : vrex::data::PairByHandle(values)) {
    if (entry.key == nullptr) continue;
    if (entry.value == nullptr) continue;
    cout << vrex::data::DescribeClavis(*entry.key) << '\n';
  }
  auto level = vrex::data::FindValue(values, clavis);
  if (level && vrex::data::KindOf(*level.Value()) == Enumerator::Scalar) cout << "scalar\n";
  vrex::data::ClavisMap<float> limits;
  limits[clavis] = 3.5F;
  cout << vrex::data::ClavisEqual{}(a, b);
}

void NamesBlock(const IdNameTableStore& store, const ProtocolCrossReferenceData& row,
                ClavisFilter& filter) {
  vrex::data::NameIndex names(store);
  auto mode = names.Resolve("Mode", 3);
  (void)mode;
  const vrex::data::CrossReferenceTables tables{"Instrument", "Parameter", "Mode", "Location"};
  auto clavis = vrex::data::ResolveCrossReference(row, names, tables);
  if (clavis) filter.add_items()->CopyFrom(clavis.Value());
}

void AxesAndTracksBlock(std::ostream& cout, const MeasurementValue& value,
                        const VectorTrackOfMeasurementsContainer& answer) {
  const Vector& spectrum = value.vector();
  std::vector<double> x = vrex::data::Abscissas(spectrum);
  for (int i = 0; i < spectrum.values_size(); ++i) cout << x[i] << spectrum.values(i).y();
  vrex::data::Track track =
      vrex::data::TrackAcrossTests(answer, vrex::data::TrackZ::TestIdentifier);
  for (const vrex::data::TrackRow& row : track.rows) {
    if (row.test != nullptr) cout << row.test->generalinformation().serial();
  }
}

[[maybe_unused]] void ClientBlocks(std::ostream& log, const MeasurementQuery& measurementQuery,
                                   MeasurementContainer& answer) {
  vrex::ClientOptions options;
  options.baseUrl = "https://results:8443";
  const vrex::Client client(options);
  auto result = client.Send(measurementQuery);  // Result<MeasurementContainer, Outcome>
  if (!result) log << result.GetStatus().Message();

  vrex::AnswerArena warm;
  for (int call = 0; call < 2; ++call) {
    auto measurements = client.Send(measurementQuery, warm.Next());
    if (measurements) log << measurements->measurements_size();
  }

  auto request = vrex::MessageFromJson("MeasurementQuery", R"({"Factory": "F1", "Line": "L1"})");
  if (!request) {
    log << request.GetStatus().Message() << '\n';
    return;
  }
  vrex::Outcome outcome = client.Send(*request.Value(), answer);
  log << outcome.Message();
}

TEST(UsageBlocksTest, PrintWhatTheirCommentsSay) {
  std::ostringstream guid, decimal, time, rest;
  GuidBlock(guid);
  DecimalBlock(decimal);
  GeneralInformation header;
  header.mutable_measurementtime()->set_value(1);
  header.mutable_measurementtime()->set_scale(bcl::DateTime::SECONDS);
  header.mutable_measurementtime()->set_kind(bcl::DateTime::UTC);
  TimeBlock(time, header);
  MeasurementsBlock(rest, {}, {}, {}, {});
  ClavisFilter filter;
  NamesBlock({}, {}, filter);
  AxesAndTracksBlock(rest, {}, {});
  EXPECT_EQ(guid.str(), "00112233-4455-6677-8899-aabbccddeeff");
  EXPECT_EQ(decimal.str(), "-12.30");
  EXPECT_EQ(time.str(), "1970-01-01T00:00:01.0000000Z\n");
  EXPECT_EQ(rest.str(), "1");
}

}  // namespace
