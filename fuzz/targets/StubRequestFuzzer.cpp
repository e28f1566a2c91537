// Raw HTTP requests to the stub server, answering from the sample plant. Each
// input is served as one connection on the fuzzer's own thread; see
// StubRequestProbe.h for what must hold. VREX_FUZZ_SAMPLE_PLANT overrides the answer directory.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "ProtobufLog.h"
#include "StubRequestProbe.h"

namespace {

vrex::fuzz::StubRequestProbe& Probe() {
  static vrex::fuzz::StubRequestProbe probe([] {
    const char* directory = std::getenv("VREX_FUZZ_SAMPLE_PLANT");
    return directory != nullptr ? directory : VREX_FUZZ_DEFAULT_SAMPLE_PLANT;
  }());
  return probe;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  vrex::fuzz::DiscardProtobufLog();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view request(reinterpret_cast<const char*>(data), size);
  vrex::fuzz::AbortOnProblem("stub_request", Probe().Check(request));
  return 0;
}
