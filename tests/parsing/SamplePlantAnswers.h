#pragma once
// The answers of the stub's sample plant, as encodings of their answer types.
#include <ostream>
#include <string>
#include <vector>

namespace google::protobuf {
class Descriptor;
}

namespace vrex::testing {

struct Encoding {
  std::string name;
  const google::protobuf::Descriptor* type;
  std::string body;
  bool accepted;  ///< whether it parses
};

inline void PrintTo(const Encoding& encoding, std::ostream* out) { *out << encoding.name; }

/// One per request type of the sample plant, named after it.
std::vector<Encoding> SamplePlantAnswers();
/// The answer to `requestType`; fails the test when there is none.
Encoding SamplePlantAnswer(const std::string& requestType);

}  // namespace vrex::testing
