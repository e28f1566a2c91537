// Request JSON as the command-line tool reads it. The first byte picks the
// request type of the catalog; the rest is the JSON text. See
// JsonRequestRoundTrip.h for what must hold.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <google/protobuf/descriptor.h>

#include "CatalogTypes.h"
#include "ProtobufLog.h"
#include "JsonRequestRoundTrip.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  vrex::fuzz::DiscardProtobufLog();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const auto& type = vrex::fuzz::SelectType(vrex::fuzz::RequestTypes(), data[0]);
  const std::string_view json(reinterpret_cast<const char*>(data + 1), size - 1);
  vrex::fuzz::AbortOnProblem("json_request",
                             vrex::fuzz::CheckJsonRequestRoundTrip(type.name(), json));
  return 0;
}
