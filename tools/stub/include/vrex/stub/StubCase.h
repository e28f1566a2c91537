#pragma once
// A case: the answers a request type gives to the requests that match it.
// A request type may have many; the first whose match the request meets
// answers it, and the default case (no match) answers the rest.
//
//   server.AddCase({"MeasurementQuery", "line-a", R"({"Line": "Line-A"})",
//                   {TextAnswer(503, "busy"), MessageAnswer(measurements)}});

#include <string>
#include <vector>

#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub {

struct StubCase {
  std::string requestType;  ///< e.g. "MeasurementQuery"
  /// Named in listings and in the 404 that a request matching no case gets.
  std::string name;
  /// Proto3 JSON that the decoded request must contain (`{"Line": "Line-A"}`):
  /// nested messages, repeated fields and maps are matched as subsets. Empty:
  /// the default case, which answers what no other case matches; a request
  /// type has at most one.
  std::string match;
  /// Given in turn, one per request; the last one repeats. None: 200 with an
  /// empty body.
  std::vector<CannedAnswer> answers;
};

}  // namespace vrex::stub
