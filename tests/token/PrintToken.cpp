// Prints the compiled-in gateway token as hex, one line, for comparison with
// the configured text.
#include <cstdio>

#include "transport/GatewayToken.h"

int main() {
  for (const char byte : vrex::internal::gatewayAuthenticationToken) {
    std::printf("%02x", static_cast<unsigned char>(byte));
  }
  std::printf("\n");
  return 0;
}
