#include "LargeAnswers.h"

#include "GeneralInformationContainer.pb.h"
#include "MeasurementContainer.pb.h"

namespace bench {

namespace {

namespace dc = Korvan::KQ::DataContracts;

constexpr int kTests = 200;
constexpr int kVectorsPerTest = 5;
constexpr int kPointsPerVector = 7000;
constexpr int kHeaders = 200000;

void FillHeader(int id, dc::GeneralInformation& header) {
  header.set_pkident(id);
  header.mutable_measurementtime()->set_value(1710223091 + 200 * id);
  header.mutable_timeofnextmeasurement()->set_value(1710223291 + 200 * id);
  header.set_serial("SN-24-" + std::to_string(1000000 + id));
  header.set_type("GX-200-4M");
  header.set_basetype("GX-200");
  header.set_bench("Bench-" + std::to_string(1 + id % 3));
  header.set_result(id % 17 == 0 ? "NOK" : "OK");
  header.set_testkind("End-of-line test");
  header.set_relativefilepath("2024/03/12/Bench-" + std::to_string(1 + id % 3) + "_20240312.kqa");
  header.set_fileoffset(4096 * (id % 1000));
  auto& info = *header.mutable_additionalinfo();
  info["Operator"] = "M. Weber";
  info["ProductionOrder"] = "PO-" + std::to_string(88000 + id / 500);
  info["Shift"] = id % 2 == 0 ? "Early" : "Late";
}

}  // namespace

const std::string& VectorAnswer() {
  static const std::string wire = [] {
    dc::MeasurementContainer container;
    for (int test = 0; test < kTests; ++test) {
      dc::Measurement& measurement = (*container.mutable_measurements())[1000 + test];
      measurement.mutable_generalinformation()->set_pkident(1000 + test);
      auto& values = *measurement.mutable_measurementvalues();
      for (int handle = 0; handle < kVectorsPerTest; ++handle) {
        (*values.mutable_keys())[handle].set_channel("Mic-" + std::to_string(handle));
        dc::Vector* vector = (*values.mutable_values())[handle].mutable_vector();
        for (int point = 0; point < kPointsPerVector; ++point) {
          vector->add_values()->set_y(0.5f + static_cast<float>(point % 97));
        }
      }
    }
    return container.SerializeAsString();
  }();
  return wire;
}

const std::string& HeaderAnswer() {
  static const std::string wire = [] {
    dc::GeneralInformationContainer container;
    for (int id = 0; id < kHeaders; ++id) FillHeader(id, *container.add_values());
    return container.SerializeAsString();
  }();
  return wire;
}

}  // namespace bench
