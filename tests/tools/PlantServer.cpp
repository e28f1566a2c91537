#include "PlantServer.h"

namespace vrex::testing {

stub::CannedAnswer BodyAnswer(int status, std::string body, std::string contentType) {
  stub::CannedAnswer answer;
  answer.status = status;
  answer.body = std::move(body);
  answer.contentType = std::move(contentType);
  return answer;
}

void PlantServerTest::SetUp() {
  ASSERT_TRUE(server.LoadAnswers(VREX_STUB_SAMPLE_PLANT).Ok());
  server.Start();
}

void PlantServerTest::TearDown() { server.Stop(); }

ProcessResult PlantServerTest::Vrex(const std::string& command, std::vector<std::string> arguments,
                                    const ProcessInput& input) const {
  arguments.insert(arguments.begin(), {command, server.BaseUrl()});
  return RunVrexProcess(arguments, input);
}

std::vector<stub::JournalEntry> PlantServerTest::Received(const std::string& requestType) const {
  std::vector<stub::JournalEntry> matching;
  for (stub::JournalEntry& entry : server.Journal()) {
    if (entry.path == "/api/" + requestType) {
      matching.push_back(std::move(entry));
    }
  }
  return matching;
}

}  // namespace vrex::testing
