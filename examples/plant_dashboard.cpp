// Plant dashboard with the session client: one vrex::Client for the whole
// run (its connection is reused by every call), the topology, then for each
// line its last tests and its result counts, one compact block per line.
// A line whose calls fail is shown with the reason and the others still are;
// the exit status is 1 when anything failed.
//
//   plant_dashboard SERVER_URL [LAST_TESTS]
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "ApiVersionQuery.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "ResultCountContainer.pb.h"
#include "ResultCountQuery.pb.h"
#include "SimpleTopologyContainer.pb.h"
#include "SimpleTopologyQuery.pb.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"
#include "vrex/data/Time.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;

/// Prints the reason of a failed call; true when it failed.
bool Failed(const vrex::Outcome& outcome) {
  if (outcome) return false;
  // Message() names the request, what happened and the detail code.
  std::cerr << "  ! " << outcome.Message() << '\n';
  return true;
}

std::string TimeText(const dc::GeneralInformation& test) {
  const auto text = vrex::data::FormatIso8601(test.measurementtime());
  return text.Ok() ? text.Value() : "(" + text.GetStatus().Message() + ")";
}

void PrintLastTests(const dc::GeneralInformationContainer& tests) {
  if (tests.values_size() == 0) {
    std::cout << "  no tests\n";
    return;
  }
  for (const dc::GeneralInformation& test : tests.values()) {
    std::cout << "  " << test.pkident() << "  " << TimeText(test) << "  " << test.serial() << "  "
              << test.bench() << "  " << test.result() << '\n';
  }
}

void PrintCounts(const dc::ResultCountContainer& counts) {
  long good = 0;
  long bad = 0;
  long all = 0;
  for (const dc::ResultCountData& row : counts.values()) {
    good += row.goodunits();
    bad += row.badunits();
    all += row.allunits();
  }
  if (all == 0) {
    std::cout << "  counts: no units\n";
    return;
  }
  char yield[16];
  std::snprintf(yield, sizeof yield, "%.1f",
                100.0 * static_cast<double>(good) / static_cast<double>(all));
  std::cout << "  counts: " << all << " units, " << good << " good, " << bad << " bad, yield "
            << yield << " % (" << counts.values_size() << " bench/type rows)\n";
}

/// The last tests and the counts of one line; false when a call failed.
bool ShowLine(const vrex::Client& client, const dc::Factory& factory, const dc::Line& line,
              int lastTests) {
  std::cout << factory.name() << " / " << line.name() << "  (" << line.testbenches_size()
            << " benches)\n";
  dc::GeneralInformationQuery testsQuery;
  testsQuery.set_factory(factory.name());
  testsQuery.set_line(line.name());
  testsQuery.mutable_lastn()->set_topn(lastTests);
  const auto tests = client.Send(testsQuery);
  if (!Failed(tests.GetStatus())) PrintLastTests(*tests);

  dc::ResultCountQuery countQuery;
  countQuery.set_factory(factory.name());
  countQuery.set_line(line.name());
  countQuery.mutable_lastn()->set_topn(1000);
  const auto counts = client.Send(countQuery);
  if (!Failed(counts.GetStatus())) PrintCounts(*counts);
  return tests.Ok() && counts.Ok();
}

vrex::ClientOptions OptionsFor(const std::string& server) {
  vrex::ClientOptions options;
  options.baseUrl = server;
  // A dashboard is refreshed again soon: fail fast rather than wait long.
  options.connectTimeout = std::chrono::seconds(3);
  options.totalTimeout = std::chrono::seconds(15);
  options.retry.maxAttempts = 2;
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    std::cerr << "usage: plant_dashboard SERVER_URL [LAST_TESTS]\n";
    return 2;
  }
  const int lastTests = argc == 3 ? std::atoi(argv[2]) : 3;
  const vrex::Client client(OptionsFor(argv[1]));

  const auto version = client.Send(dc::ApiVersionQuery());
  if (Failed(version.GetStatus())) return 1;
  std::cout << "Results server " << client.BaseUrl() << ", interface " << version->major() << '.'
            << version->minor() << '.' << version->patch() << "\n\n";

  const auto topology = client.Send(dc::SimpleTopologyQuery());
  if (Failed(topology.GetStatus())) return 1;
  int lines = 0;
  int failedLines = 0;
  for (const dc::Factory& factory : topology->values()) {
    for (const dc::Line& line : factory.lines()) {
      ++lines;
      if (!ShowLine(client, factory, line, lastTests)) ++failedLines;
      std::cout << '\n';
    }
  }
  std::cout << lines << " lines, " << failedLines << " with failed calls\n";
  return failedLines == 0 ? 0 : 1;
}
