// The first program of docs/guide.md: the newest test of a line, the time
// its line's clocks showed, and the peak of its spectrum with its unit.
//
//   first_program SERVER_URL [FACTORY LINE]      (default Plant-North Line-A)
#include <algorithm>
#include <iostream>
#include <string>

#include "GeneralInformationContainer.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "MeasurementByIdQuery.pb.h"
#include "MeasurementContainer.pb.h"
#include "SimpleTopologyContainer.pb.h"
#include "SimpleTopologyQuery.pb.h"
#include "vrex/Client.h"
#include "vrex/data/Axes.h"
#include "vrex/data/Clavis.h"
#include "vrex/data/LineTimeZone.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/TestSelection.h"
#include "vrex/data/Units.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;

/// The time zone the topology states for the line; UTC when it names none.
vrex::data::LineTimeZone ZoneOf(const dc::SimpleTopologyContainer& topology,
                                const std::string& factory, const std::string& line) {
  for (const dc::Factory& f : topology.values()) {
    for (const dc::Line& l : f.lines()) {
      if (f.name() == factory && l.name() == line) return vrex::data::LineTimeZone::Of(l);
    }
  }
  return vrex::data::LineTimeZone::Utc();
}

/// Prints the highest point of the first spectrum (a Vector) of a test.
void PrintSpectrumPeak(const dc::MeasurementValueContainer& values) {
  for (const vrex::data::MeasurementEntry& entry : vrex::data::PairByHandle(values)) {
    if (entry.key == nullptr || entry.value == nullptr ||
        vrex::data::KindOf(*entry.value) != dc::Enumerator::Vector) {
      continue;
    }
    const dc::Vector& spectrum = entry.value->vector();
    if (spectrum.values_size() == 0) continue;
    const auto peak = std::max_element(
        spectrum.values().begin(), spectrum.values().end(),
        [](const dc::VectorPoint& a, const dc::VectorPoint& b) { return a.y() < b.y(); });
    const auto index = static_cast<std::size_t>(peak - spectrum.values().begin());
    std::cout << vrex::data::DescribeClavis(*entry.key) << '\n'
              << "  peak " << vrex::data::FormatWithUnit(peak->y(), spectrum.yunit()) << " at "
              << vrex::data::FormatWithUnit(vrex::data::Abscissas(spectrum)[index],
                                            spectrum.xunit())
              << '\n';
    return;
  }
  std::cout << "no spectrum among the test's values\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    std::cerr << "usage: first_program SERVER_URL [FACTORY LINE]\n";
    return 2;
  }
  const std::string factory = argc == 4 ? argv[2] : "Plant-North";
  const std::string line = argc == 4 ? argv[3] : "Line-A";

  vrex::ClientOptions options;
  options.baseUrl = argv[1];
  const vrex::Client client(options);

  // 1. The line's time zone, from the topology.
  const auto topology = client.Send(dc::SimpleTopologyQuery());
  if (!topology.Ok()) {
    std::cerr << topology.GetStatus().Message() << '\n';
    return 1;
  }
  const vrex::data::LineTimeZone zone = ZoneOf(topology.Value(), factory, line);

  // 2. The line's last ten tests, and the newest of them.
  dc::GeneralInformationQuery testsQuery;
  testsQuery.set_factory(factory);
  testsQuery.set_line(line);
  *testsQuery.mutable_lastn() = vrex::data::NewestTests(10);
  const auto tests = client.Send(testsQuery);
  if (!tests.Ok()) {
    std::cerr << tests.GetStatus().Message() << '\n';
    return 1;
  }
  const dc::GeneralInformation* newest = vrex::data::NewestTest(tests.Value());
  if (newest == nullptr) {
    std::cout << "no tests on " << factory << " / " << line << '\n';
    return 0;
  }
  std::cout << "Test " << newest->pkident() << " of " << factory << " / " << line << ": "
            << newest->serial() << " on " << newest->bench() << ", " << newest->result() << '\n'
            << "  at " << zone.Format(newest->measurementtime()) << " (" << zone.Name() << ")\n";

  // 3. Its measurements, and the peak of its spectrum.
  dc::MeasurementByIdQuery valuesQuery;
  valuesQuery.set_factory(factory);
  valuesQuery.set_line(line);
  valuesQuery.add_identifier(newest->pkident());
  const auto measurements = client.Send(valuesQuery);
  if (!measurements.Ok()) {
    std::cerr << measurements.GetStatus().Message() << '\n';
    return 1;
  }
  const auto found = measurements.Value().measurements().find(newest->pkident());
  if (found == measurements.Value().measurements().end()) {
    std::cout << "the server sent no measurements of test " << newest->pkident() << '\n';
    return 1;
  }
  PrintSpectrumPeak(found->second.measurementvalues());
  return 0;
}
