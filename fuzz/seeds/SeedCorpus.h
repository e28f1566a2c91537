#pragma once
// The starting corpora of the fuzz targets, made from
// the sample plant of the stub server and the request catalog. They are
// generated when the fuzzers run, so they never fall behind the contract.

#include <filesystem>
#include <string>
#include <vector>

#include "SampleMessage.h"

namespace vrex::fuzz {

struct Seed {
  std::string name;   ///< file name, unique within its corpus
  std::string bytes;  ///< the fuzz input, selector byte first where the target has one
};

/// Answer bodies: every answer of the sample plant, a filled and an empty
/// message of every answer type.
std::vector<Seed> AnswerSeeds(const std::filesystem::path& samplePlant, const SamplePlant& plant);

/// The answer seeds as the sliced parse reads them: after the selector, a
/// byte that makes the body arrive in chunks of 8 bytes; and each again,
/// followed by field 1 with tags in 5 bytes.
std::vector<Seed> SlicedParseSeeds(std::vector<Seed> answerSeeds);

/// Request JSON: "{}" and a filled request of every request type.
std::vector<Seed> JsonRequestSeeds(const SamplePlant& plant);

/// Raw HTTP requests as the clients send them, one per request type, and a
/// few the stub must turn away (other method, unknown type, other path).
std::vector<Seed> StubRequestSeeds(const SamplePlant& plant);

}  // namespace vrex::fuzz
