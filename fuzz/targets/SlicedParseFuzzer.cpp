// Answer bodies parsed in slices on several threads, as vrex::Client parses
// large answers. The first byte picks the answer message of a catalog query,
// the second the size of the chunks the body arrives in (1 to 256 bytes);
// the rest is the body. See SlicedParseCheck.h for what must hold.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "CatalogTypes.h"
#include "ProtobufLog.h"
#include "SlicedParseCheck.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  vrex::fuzz::DiscardProtobufLog();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  const auto& type = vrex::fuzz::SelectType(vrex::fuzz::AnswerTypes(), data[0]);
  const std::string_view body(reinterpret_cast<const char*>(data + 2), size - 2);
  vrex::fuzz::AbortOnProblem("sliced_parse",
                             vrex::fuzz::CheckSlicedParse(type, body, 1 + data[1]).check);
  return 0;
}
