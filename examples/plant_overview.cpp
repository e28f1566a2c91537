// Plant overview with the established client: checks the server's interface
// version, prints the plant as a tree and the last tests of one line as a
// table, with the values of the newest test.
//
//   plant_overview http://127.0.0.1:8080 [FACTORY LINE]
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "VrexClient.h"
#include "vrex/data/Iso8601.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Units.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

constexpr int kLastTests = 5;

bool Failed(const dc::MessageContainer& status, const std::string& what) {
  if (status.codecategory() == en::CodeCategory_None) return false;
  std::cerr << what << " failed: " << en::CodeCategory_Name(status.codecategory()) << " / "
            << en::DetailCode_Name(status.detailcode()) << '\n';
  return true;
}

std::string TimeZoneOf(const dc::Line& line) {
  if (!line.has_timezoneid()) return "time zone not stated";
  const dc::TimezoneInfo& zone = line.timezoneid();
  const int offset = zone.utcoffsetinminutes();
  std::string text =
      zone.ianatimezoneid().empty() ? zone.windowstimezoneid() : zone.ianatimezoneid();
  text += offset < 0 ? ", UTC-" : ", UTC+";
  const int minutes = offset < 0 ? -offset : offset;
  text += std::to_string(minutes / 60);
  if (minutes % 60 != 0) text += ":" + std::to_string(minutes % 60);
  return text;
}

void PrintTopology(const dc::SimpleTopologyContainer& topology) {
  std::cout << "Plant\n";
  for (int f = 0; f < topology.values_size(); ++f) {
    const dc::Factory& factory = topology.values(f);
    const bool lastFactory = f + 1 == topology.values_size();
    std::cout << (lastFactory ? "└── " : "├── ") << factory.name() << '\n';
    const std::string factoryIndent = lastFactory ? "    " : "│   ";
    for (int l = 0; l < factory.lines_size(); ++l) {
      const dc::Line& line = factory.lines(l);
      const bool lastLine = l + 1 == factory.lines_size();
      std::cout << factoryIndent << (lastLine ? "└── " : "├── ") << line.name() << "  ("
                << TimeZoneOf(line) << ")\n";
      const std::string lineIndent = factoryIndent + (lastLine ? "    " : "│   ");
      for (int b = 0; b < line.testbenches_size(); ++b) {
        const bool lastBench = b + 1 == line.testbenches_size();
        std::cout << lineIndent << (lastBench ? "└── " : "├── ") << line.testbenches(b).name()
                  << '\n';
      }
    }
  }
}

std::string TimeText(const dc::GeneralInformation& test) {
  const auto text = vrex::data::FormatIso8601(test.measurementtime());
  return text.Ok() ? text.Value() : "(" + text.GetStatus().Message() + ")";
}

std::string NumberText(float number) {
  std::ostringstream text;
  text << number;
  return text.str();
}

std::string ValueText(const dc::MeasurementValue& value) {
  switch (vrex::data::KindOf(value)) {
    case en::Scalar:
      return NumberText(value.scalar().value()) + " " + vrex::data::UnitText(value.scalar().unit());
    case en::ScalarTrack:
      return "track of " + std::to_string(value.scalartrack().values_size()) + " points";
    case en::Vector:
      return "vector of " + std::to_string(value.vector().values_size()) + " points (" +
             vrex::data::UnitText(value.vector().yunit()) + " over " +
             vrex::data::UnitText(value.vector().xunit()) + ")";
    case en::VectorTrack:
      return "vector track of " + std::to_string(value.vectortrack().values_size()) + " vectors";
    case en::Matrix:
      return "matrix of " + std::to_string(value.matrix().values_size()) + " elements";
    default:
      return value.invalid().empty() ? "no value" : "invalid: " + value.invalid();
  }
}

void PrintMeasurements(const dc::MeasurementContainer& container) {
  // The map is keyed by test identifier; print in identifier order.
  const std::map<int, const dc::Measurement*> tests = [&] {
    std::map<int, const dc::Measurement*> sorted;
    for (const auto& [id, measurement] : container.measurements()) sorted[id] = &measurement;
    return sorted;
  }();
  std::cout << std::left << std::setw(8) << "Test" << std::setw(30) << "Time" << std::setw(14)
            << "Serial" << std::setw(10) << "Bench"
            << "Result\n";
  for (const auto& [id, measurement] : tests) {
    const dc::GeneralInformation& test = measurement->generalinformation();
    std::cout << std::setw(8) << id << std::setw(30) << TimeText(test) << std::setw(14)
              << test.serial() << std::setw(10) << test.bench() << test.result() << '\n';
  }
  if (tests.empty()) return;
  const auto& [newestId, newest] = *tests.rbegin();
  std::cout << "\nValues of test " << newestId << ":\n";
  const auto entries = vrex::data::PairByHandle(newest->measurementvalues());
  std::vector<std::string> names;
  std::size_t width = 0;
  for (const auto& entry : entries) {
    names.push_back(entry.key != nullptr ? vrex::data::DescribeClavis(*entry.key)
                                         : "(unnamed value)");
    width = std::max(width, names.back().size());
  }
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto* value = entries[i].value;
    std::cout << "  " << std::setw(static_cast<int>(width + 2)) << names[i]
              << (value != nullptr ? ValueText(*value) : "(not sent)") << '\n';
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    std::cerr << "usage: plant_overview SERVER_URL [FACTORY LINE]\n";
    return 2;
  }
  const std::string server = argv[1];
  // The established functions pass any URL to libcurl, whatever its scheme
  // (file://, gopher://): a URL typed by a user is held to http and https here.
  if (server.rfind("http://", 0) != 0 && server.rfind("https://", 0) != 0) {
    std::cerr << "plant_overview: SERVER_URL must start with http:// or https://\n";
    return 2;
  }
  dc::MessageContainer status;

  const dc::VersionDTO version =
      VrexClient::SendToServer(server, dc::ApiVersionQuery(), status, "");
  if (Failed(status, "Reading the server version")) return 1;
  const bool accepted = VrexClient::CheckVersion(server, status, "");
  std::cout << "Server interface " << version.major() << '.' << version.minor() << '.'
            << version.patch() << (accepted ? " (accepted)\n\n" : " (NOT accepted)\n\n");
  if (!accepted) return 1;

  const auto topology = VrexClient::SendToServer(server, dc::SimpleTopologyQuery(), status, "");
  if (Failed(status, "Reading the topology")) return 1;
  PrintTopology(topology);

  dc::MeasurementQuery query;
  if (argc == 4) {
    query.set_factory(argv[2]);
    query.set_line(argv[3]);
  } else if (topology.values_size() > 0 && topology.values(0).lines_size() > 0) {
    query.set_factory(topology.values(0).name());
    query.set_line(topology.values(0).lines(0).name());
  }
  query.mutable_lastn()->set_topn(kLastTests);
  const auto measurements = VrexClient::SendToServer(server, query, status, "");
  if (Failed(status, "Reading the measurements")) return 1;
  std::cout << "\nLast " << kLastTests << " tests of " << query.factory() << " / " << query.line()
            << ":\n";
  PrintMeasurements(measurements);
  return 0;
}
