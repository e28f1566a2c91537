#include "Endpoints.h"

#include <stdexcept>

#include "LoopbackPort.h"

namespace vrex::reliability {

std::string UnknownHostBaseUrl() { return "http://results-server.vrex.invalid:8080"; }

std::string BaseUrlOf(Target target, const stub::StubServer& server) {
  switch (target) {
    case Target::Stub:
      return server.BaseUrl();
    case Target::RefusedPort:
      return testing::UnreachableUrl();
    case Target::UnknownHost:
      return UnknownHostBaseUrl();
  }
  throw std::logic_error("unknown target");
}

}  // namespace vrex::reliability
