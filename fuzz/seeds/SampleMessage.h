#pragma once
// Fills a message by reflection so that every field carries a value: seeds
// that name every field give the fuzzers all field names, nestings and value
// kinds to start from, which they would hardly find by mutation alone.

#include <string>

namespace google::protobuf {
class Message;
}

namespace vrex::fuzz {

/// The names the filled requests use for the plant: those of the stub's
/// sample plant, so that the requests ask for what it has.
struct SamplePlant {
  std::string factory = "Plant-North";
  std::string line = "Line-A";
  std::string testBench = "Bench-1";
};

/// Sets every field of `message`: scalars to a non-default value, enums to
/// their last value, one element in each list and map, nested messages down
/// to a fixed depth (recursive types end there).
void FillSample(google::protobuf::Message& message, const SamplePlant& plant);

}  // namespace vrex::fuzz
