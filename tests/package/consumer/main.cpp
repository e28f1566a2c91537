// A program built only against the installed package.
#include <iostream>

#include "MeasurementQuery.pb.h"
#include "VrexClient.h"

int main() {
  Korvan::KQ::DataContracts::MeasurementQuery query;
  query.set_factory("Plant-North");
  query.set_line("Line-A");
  const std::string wire = query.SerializeAsString();
  Korvan::KQ::DataContracts::MeasurementQuery back;
  if (!back.ParseFromString(wire) || back.line() != "Line-A") {
    std::cerr << "round trip failed\n";
    return 1;
  }
  const auto* pool = google::protobuf::DescriptorPool::generated_pool();
  if (pool->FindFileByName("bcl.proto") == nullptr) return 1;
  std::cout << "209 schema files, api major " << VrexClient::requiredApiMajorVersion << '\n';
  return 0;
}
