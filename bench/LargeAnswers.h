#pragma once
// The two large answer shapes of the benchmarks, encoded once per run:
//   - Vectors: a MeasurementContainer of 200 tests with 5 vectors of 7000
//     points each, 49 MB. A vector point is a message of its own
//     (VectorPoint, one float), so this is seven million tiny sub-messages,
//     not a packed array; the bulk is the top-level map `Measurements`.
//   - Headers: a GeneralInformationContainer of 200 000 test headers, each
//     with seven strings, two time stamps and a map of additional
//     information, 39 MB; the bulk is the top-level list `Values`.
#include <string>

namespace bench {

const std::string& VectorAnswer();
const std::string& HeaderAnswer();

}  // namespace bench
