// Answer bodies as the clients read them. The first byte picks the answer
// message of a catalog query; the rest is the body. See AnswerRoundTrip.h for
// what must hold.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "AnswerRoundTrip.h"
#include "CatalogTypes.h"
#include "ProtobufLog.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  vrex::fuzz::DiscardProtobufLog();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const auto& type = vrex::fuzz::SelectType(vrex::fuzz::AnswerTypes(), data[0]);
  const std::string_view body(reinterpret_cast<const char*>(data + 1), size - 1);
  vrex::fuzz::AbortOnProblem("answer_parse", vrex::fuzz::CheckAnswerRoundTrip(type, body));
  return 0;
}
