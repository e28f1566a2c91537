#include "VrexHarness.h"

#include <sstream>

#include "App.h"

namespace vrex::testing {

VrexRun RunVrexInProcess(const std::vector<std::string>& arguments, const std::string& input,
                         std::size_t columns) {
  std::istringstream in(input);
  std::ostringstream out;
  std::ostringstream err;
  cli::Console console{in, out, err, false, false, columns};
  std::vector<const char*> argv = {"vrex"};
  for (const std::string& argument : arguments) argv.push_back(argument.c_str());
  VrexRun run;
  run.exitCode = cli::RunVrex(static_cast<int>(argv.size()), argv.data(), console);
  run.out = out.str();
  run.err = err.str();
  return run;
}

void PlantServerTest::SetUp() {
  ASSERT_TRUE(server.LoadAnswers(VREX_STUB_SAMPLE_PLANT).Ok());
  server.Start();
}

void PlantServerTest::TearDown() { server.Stop(); }

VrexRun PlantServerTest::Vrex(std::vector<std::string> arguments, const std::string& input) const {
  for (std::string& argument : arguments) {
    for (const auto& [name, value] :
         {std::pair<std::string, std::string>{"{url}", server.BaseUrl()},
          {"{https-url}", "https" + server.BaseUrl().substr(4)},
          {"{dir}", scratch.Path().string()}}) {
      const std::size_t at = argument.find(name);
      if (at != std::string::npos) argument.replace(at, name.size(), value);
    }
  }
  return RunVrexInProcess(arguments, input);
}

std::vector<stub::JournalEntry> PlantServerTest::Received(const std::string& requestType) const {
  std::vector<stub::JournalEntry> matching;
  for (stub::JournalEntry& entry : server.Journal()) {
    if (entry.path == "/api/" + requestType) matching.push_back(std::move(entry));
  }
  return matching;
}

}  // namespace vrex::testing
