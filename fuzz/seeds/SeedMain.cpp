// vrex-fuzz-seeds SAMPLE_PLANT OUT_DIR
// Writes the seed corpus of each fuzz target to OUT_DIR/<target>/ (emptied
// first).
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "SeedCorpus.h"

namespace {

namespace fs = std::filesystem;
using vrex::fuzz::Seed;

void WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) {
    throw std::runtime_error("cannot write " + path.string());
  }
}

void WriteCorpus(const fs::path& outDir, const std::string& target,
                 const std::vector<Seed>& seeds) {
  const fs::path corpus = outDir / target;
  fs::remove_all(corpus);
  fs::create_directories(corpus);
  for (const Seed& seed : seeds) {
    WriteFile(corpus / seed.name, seed.bytes);
  }
  std::printf("%s: %zu seeds\n", target.c_str(), seeds.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s SAMPLE_PLANT OUT_DIR\n", argv[0]);
    return 2;
  }
  try {
    const fs::path samplePlant = argv[1];
    const fs::path outDir = argv[2];
    const vrex::fuzz::SamplePlant plant;
    const auto answerSeeds = vrex::fuzz::AnswerSeeds(samplePlant, plant);
    WriteCorpus(outDir, "answer_parse", answerSeeds);
    WriteCorpus(outDir, "sliced_parse", vrex::fuzz::SlicedParseSeeds(answerSeeds));
    WriteCorpus(outDir, "json_request", vrex::fuzz::JsonRequestSeeds(plant));
    WriteCorpus(outDir, "stub_request", vrex::fuzz::StubRequestSeeds(plant));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vrex-fuzz-seeds: %s\n", error.what());
    return 1;
  }
  return 0;
}
