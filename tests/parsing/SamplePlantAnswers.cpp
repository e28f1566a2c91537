#include "SamplePlantAnswers.h"

#include <gtest/gtest.h>

#include "vrex/RequestCatalog.h"
#include "vrex/stub/AnswerLoader.h"

namespace vrex::testing {

std::vector<Encoding> SamplePlantAnswers() {
  std::vector<Encoding> answers;
  const auto plant = stub::LoadAnswerDirectory(VREX_SAMPLE_PLANT);
  for (const auto& [requestType, answer] : plant.Value()) {
    answers.push_back(
        {requestType, AnswerDescriptor(*FindRequest(requestType)), answer.body, true});
  }
  return answers;
}

Encoding SamplePlantAnswer(const std::string& requestType) {
  for (Encoding& answer : SamplePlantAnswers()) {
    if (answer.name == requestType) return answer;
  }
  ADD_FAILURE() << "the sample plant does not answer " << requestType;
  return {};
}

}  // namespace vrex::testing
