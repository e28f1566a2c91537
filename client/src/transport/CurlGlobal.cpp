#include "transport/CurlGlobal.h"

#include <curl/curl.h>

namespace vrex::internal {

void EnsureCurlGlobalInit() {
  // A function-local static is initialised exactly once, thread-safely.
  static const CURLcode initialised = curl_global_init(CURL_GLOBAL_ALL);
  static_cast<void>(initialised);
}

}  // namespace vrex::internal
