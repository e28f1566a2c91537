// Plant dashboard with the session client: one vrex::Client for the whole
// run, the version and the topology read at once, then the last tests and
// the result counts of every line all read at once (the client runs them on
// a few kept-alive connections), printed one compact block per line in
// topology order. A line whose calls fail is shown with the reason and the
// others still are; the exit status is 1 when anything failed.
//
//   plant_dashboard SERVER_URL [LAST_TESTS]
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "ApiVersionQuery.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "GeneralInformationQuery.pb.h"
#include "ResultCountContainer.pb.h"
#include "ResultCountQuery.pb.h"
#include "SimpleTopologyContainer.pb.h"
#include "SimpleTopologyQuery.pb.h"
#include "VersionDTO.pb.h"
#include "vrex/Client.h"
#include "vrex/data/Iso8601.h"

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

template <class Answer>
using Call = vrex::AsyncCall<vrex::Result<Answer, vrex::Outcome>>;

/// The reads of one line, under way.
struct LineReads {
  std::string title;
  Call<dc::GeneralInformationContainer> tests;
  Call<dc::ResultCountContainer> counts;
};

LineReads StartLine(const vrex::Client& client, const dc::Factory& factory, const dc::Line& line,
                    int lastTests) {
  dc::GeneralInformationQuery testsQuery;
  testsQuery.set_factory(factory.name());
  testsQuery.set_line(line.name());
  testsQuery.mutable_lastn()->set_topn(lastTests);
  dc::ResultCountQuery countQuery;
  countQuery.set_factory(factory.name());
  countQuery.set_line(line.name());
  countQuery.mutable_lastn()->set_topn(1000);
  return {factory.name() + " / " + line.name() + "  (" +
              std::to_string(line.testbenches_size()) + " benches)",
          client.SendAsync(testsQuery), client.SendAsync(countQuery)};
}

/// Waits for the reads of one line and prints them; false when a call failed.
bool ShowLine(LineReads& reads) {
  std::cout << reads.title << '\n';
  const auto tests = reads.tests.Get();
  if (!Failed(tests.GetStatus())) PrintLastTests(*tests);
  const auto counts = reads.counts.Get();
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

  auto versionCall = client.SendAsync(dc::ApiVersionQuery());
  auto topologyCall = client.SendAsync(dc::SimpleTopologyQuery());
  const auto version = versionCall.Get();
  const auto topology = topologyCall.Get();
  if (Failed(version.GetStatus()) || Failed(topology.GetStatus())) return 1;
  std::cout << "Results server " << client.BaseUrl() << ", interface " << version->major() << '.'
            << version->minor() << '.' << version->patch() << "\n\n";

  std::vector<LineReads> lines;
  for (const dc::Factory& factory : topology->values()) {
    for (const dc::Line& line : factory.lines()) {
      lines.push_back(StartLine(client, factory, line, lastTests));
    }
  }
  int failedLines = 0;
  for (LineReads& reads : lines) {
    if (!ShowLine(reads)) ++failedLines;
    std::cout << '\n';
  }
  std::cout << lines.size() << " lines, " << failedLines << " with failed calls\n";
  return failedLines == 0 ? 0 : 1;
}
