// The usage blocks of the public headers that read results, each as a
// function, so that an example that no longer compiles fails the build.
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "VrexClient.h"
#include "vrex/AnswerArena.h"
#include "vrex/Client.h"
#include "vrex/Contracts.h"
#include "vrex/MessageJson.h"
#include "vrex/data/AtomicFile.h"
#include "vrex/data/Axes.h"
#include "vrex/data/Clavis.h"
#include "vrex/data/Decimal.h"
#include "vrex/data/Guid.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Names.h"
#include "vrex/data/Time.h"
#include "vrex/data/Tracks.h"
#include "vrex/data/Units.h"

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

// clang-format off: the blocks as their headers show them
// Result.h, Time.h, Axes.h, Clavis.h, Units.h, AtomicFile.h.
[[maybe_unused]] void ResultTimeAxesClavisUnitsAndFileBlocks(const std::string& text,
                                                             const GeneralInformation& header,
                                                             const MeasurementValue& value,
                                                             const Clavis& clavis, const Clavis& a,
                                                             const Clavis& b) {
  auto use = [](const auto&) {};
  auto plot = [](double, double) {};
  vrex::Result<bcl::Guid> guid = vrex::data::ParseGuid(text);
  if (!guid) {
    std::cerr << guid.GetStatus().Message() << '\n';
    return;
  }
  use(guid.Value());

  auto instant = vrex::data::ToInstant(header.measurementtime());
  if (instant.Ok() && instant.Value().extreme == vrex::data::Extreme::None)
    use(instant.Value().time);  // a TickTime
  bcl::DateTime now = vrex::data::FromSystemTime(std::chrono::system_clock::now());

  const Vector& spectrum = value.vector();
  std::vector<double> x = vrex::data::Abscissas(spectrum);
  for (int i = 0; i < spectrum.values_size(); ++i) plot(x[i], spectrum.values(i).y());

  vrex::data::ClavisMap<float> limits;
  limits[clavis] = 3.5F;
  bool same = vrex::data::ClavisEqual{}(a, b);

  const Scalar& level = value.scalar();
  std::cout << vrex::data::FormatWithUnit(level.value(), level.unit());
  std::cout << vrex::data::FormatWithUnit(level.value(), level.unit(),
                                          vrex::data::DecibelReference::AsSent);

  vrex::data::AtomicFile file("report.csv");
  if (!file.Write("a,b\r\n") || !file.Commit()) std::cerr << file.Error() << '\n';
  use(now), use(same);
}

// Tracks.h, Client.h, AnswerArena.h: compiled, not run, as they need a server.
[[maybe_unused]] void TrackClientAndArenaBlocks(
    const std::string& url, const VectorTrackOfMeasurementsQuery& vectorTrackQuery,
    MessageContainer& container, const MeasurementQuery& measurementQuery,
    const MeasurementQuery& query) {
  VectorTrackOfMeasurementsContainer answer =
      VrexClient::SendToServer(url, vectorTrackQuery, container, "");
  vrex::data::Track track =
      vrex::data::TrackAcrossTests(answer, vrex::data::TrackZ::TestIdentifier);
  for (const vrex::data::TrackRow& row : track.rows) {
    if (row.test != nullptr) std::cout << row.test->generalinformation().serial();
    // row.ordinates[i] lies at track.abscissas[i]
  }

  auto log = [](const std::string&) {};
  auto Show = [](const MeasurementContainer&) {};
  vrex::ClientOptions options;
  options.baseUrl = "https://results:8443";
  const vrex::Client client(options);
  auto result = client.Send(measurementQuery);  // Result<MeasurementContainer, Outcome>
  if (!result) log(result.GetStatus().Message());

  vrex::AnswerArena warm;
  for (;;) {
    auto measurements = client.Send(query, warm.Next());  // frees the last answer
    if (measurements) Show(*measurements);                // valid until the next Next()
  }
}
// clang-format on

TEST(UsageBlocksTest, PrintWhatTheirCommentsSay) {
  std::ostringstream printed;
  GuidAndDecimalBlocks(printed);
  EXPECT_EQ(printed.str(), "00112233-4455-6677-8899-aabbccddeeff-12.30");
}

}  // namespace
