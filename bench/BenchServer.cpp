#include "BenchServer.h"

#include "VersionDTO.pb.h"

namespace bench {

vrex::stub::StubServer& SharedServer() {
  static vrex::stub::StubServer& server = [] () -> vrex::stub::StubServer& {
    static vrex::stub::StubServer instance;
    Korvan::KQ::DataContracts::VersionDTO version;
    version.set_major(4);
    version.set_minor(2);
    instance.SetAnswerMessage("ApiVersionQuery", version);
    instance.Start();
    return instance;
  }();
  return server;
}

std::string VersionUrl() { return SharedServer().BaseUrl() + "/api/ApiVersionQuery"; }

}  // namespace bench
