// `vrex call`: every request of the catalog from its template, answers as
// JSON, binary and text, and the failures a user meets.

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include "ApiVersionQuery.pb.h"
#include "GetShiftQuery.pb.h"
#include "PlantServer.h"
#include "VersionDTO.pb.h"
#include "vrex/MessageJson.h"
#include "vrex/RequestCatalog.h"
#include "vrex/stub/CannedAnswer.h"

namespace vrex::cli {
namespace {

namespace dc = ::Korvan::KQ::DataContracts;
using testing::PlantServerTest;
using testing::ProcessInput;
using testing::RunVrexProcess;
using ::testing::HasSubstr;
using ::testing::Not;

using CallCommand = PlantServerTest;

constexpr std::string_view kFileBytes = "RIFF\x01\x02\x00WAVEfmt";

// What a request of each kind must print when the stub answers it.
void ExpectAnswerPrinted(const RequestInfo& request, const std::string& out) {
  switch (request.kind) {
    case RequestKind::Query: {
      const auto answer = MessageFromJson(request.answerType, out);
      EXPECT_TRUE(answer.Ok()) << request.name << " printed no " << request.answerType << ": "
                               << answer.GetStatus().Message() << "\n"
                               << out;
      break;
    }
    case RequestKind::Command:
      EXPECT_THAT(out, HasSubstr(std::string(request.name) + ": succeeded"));
      break;
    case RequestKind::File:
      EXPECT_EQ(out, kFileBytes) << request.name;
      break;
  }
}

TEST_F(CallCommand, EveryListedRequestIsCallableFromItsTemplate) {
  for (const RequestInfo& request : Requests()) {
    if (request.kind == RequestKind::File) {
      server.SetAnswer(request.name, testing::BodyAnswer(200, std::string(kFileBytes),
                                                              "application/octet-stream"));
    }
  }
  for (const RequestInfo& request : Requests()) {
    SCOPED_TRACE(std::string(request.name));
    const std::string type(request.name);
    const auto skeleton = RunVrexProcess({"template", type});
    ASSERT_EQ(skeleton.exitCode, 0) << skeleton.err;

    server.ClearJournal();
    const auto call = Vrex("call", {type, "-d", "@-"}, ProcessInput{skeleton.out, {}});
    ASSERT_EQ(call.exitCode, 0) << call.err;
    ExpectAnswerPrinted(request, call.out);

    // The server received exactly the request the template describes.
    const auto received = Received(type);
    ASSERT_EQ(received.size(), 1U);
    const auto sent = MessageFromJson(type, skeleton.out);
    ASSERT_TRUE(sent.Ok()) << sent.GetStatus().Message();
    std::unique_ptr<google::protobuf::Message> parsed(sent.Value()->New());
    if (received[0].body != "{}") {
      ASSERT_TRUE(parsed->ParseFromString(received[0].body));
    }
    EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(*parsed, *sent.Value()));
  }
}

TEST_F(CallCommand, PrintsTheAnswerInEachOutputFormat) {
  const auto json = Vrex("call", {"ApiVersionQuery"});
  ASSERT_EQ(json.exitCode, 0) << json.err;
  EXPECT_THAT(json.out, HasSubstr("\"Major\": 4"));

  const auto binary = Vrex("call", {"ApiVersionQuery", "--output", "binary"});
  ASSERT_EQ(binary.exitCode, 0) << binary.err;
  dc::VersionDTO version;
  ASSERT_TRUE(version.ParseFromString(binary.out));
  EXPECT_EQ(version.major(), 4);
  EXPECT_EQ(version.minor(), 2);

  const auto text = Vrex("call", {"ApiVersionQuery", "--output", "text"});
  ASSERT_EQ(text.exitCode, 0) << text.err;
  EXPECT_THAT(text.out, HasSubstr("Major: 4"));
}

TEST_F(CallCommand, ReadsTheRequestInlineFromAFileAndFromStandardInput) {
  const std::string json = R"({"Names": ["Early", "Late"]})";
  const std::string file = ::testing::TempDir() + "/vrex-call-request.json";
  {
    std::FILE* stream = std::fopen(file.c_str(), "w");
    ASSERT_NE(stream, nullptr);
    std::fputs(json.c_str(), stream);
    std::fclose(stream);
  }
  const std::vector<std::vector<std::string>> forms = {{"GetShiftQuery", "-d", json},
                                                       {"GetShiftQuery", "-d", "@" + file},
                                                       {"GetShiftQuery", "--data", "@-"}};
  for (const auto& form : forms) {
    server.ClearJournal();
    const auto result = Vrex("call", form, ProcessInput{json, {}});
    ASSERT_EQ(result.exitCode, 0) << form.back() << ": " << result.err;
    const auto received = Received("GetShiftQuery");
    ASSERT_EQ(received.size(), 1U);
    dc::GetShiftQuery sent;
    ASSERT_TRUE(sent.ParseFromString(received[0].body));
    EXPECT_THAT(sent.names(), ::testing::ElementsAre("Early", "Late")) << form.back();
  }
  std::remove(file.c_str());
}

struct BadRequestCase {
  std::vector<std::string> arguments;
  std::vector<std::string> messageParts;
};

TEST_F(CallCommand, BadRequestsAreUsageErrorsThatNameTheCauseAndSendNothing) {
  const std::vector<BadRequestCase> cases = {
      {{"GetShiftQuery", "-d", R"({"Names": [], "Nmaes": 1})"},
       {"unknown field \"Nmaes\"", "vrex template GetShiftQuery"}},
      {{"MeasurementQuery", "-d", R"({"Time": {"Form": {}}})"}, {"unknown field \"Form\" in Time"}},
      {{"GetShiftQuery", "-d", R"({"Names": )"}, {"GetShiftQuery"}},
      {{"NoSuchQuery"}, {"knows no request \"NoSuchQuery\"", "vrex list"}},
      {{"GetShiftQuery", "-d", "@/nonexistent/request.json"},
       {"cannot read the request file \"/nonexistent/request.json\""}},
      {{"ApiVersionQuery", "--answer-type", "NoSuchAnswer"}, {"NoSuchAnswer"}},
  };
  for (const BadRequestCase& testCase : cases) {
    const auto result = Vrex("call", testCase.arguments);
    EXPECT_EQ(result.exitCode, 2) << testCase.arguments.back() << ": " << result.err;
    for (const std::string& part : testCase.messageParts) {
      EXPECT_THAT(result.err, HasSubstr(part));
    }
    EXPECT_TRUE(result.out.empty()) << result.out;
  }
  EXPECT_TRUE(server.Journal().empty());
}

struct ServerFailureCase {
  int status;
  std::string body;
  int exitCode;
  std::vector<std::string> messageParts;
};

TEST_F(CallCommand, ServerFailuresGiveTheirExitCodeAndANextStep) {
  const std::vector<ServerFailureCase> cases = {
      {401,
       "",
       4,
       {"server rejected the request: HTTP 401 (ApiPipeline_Unauthorized)", "gateway token"}},
      {400, "", 4, {"HTTP 400", "vrex template"}},
      {500, "", 5, {"server failed the request: HTTP 500 (ApiPipeline_Failed)"}},
      {503, "", 5, {"HTTP 503", "try again later"}},
      {200, "\xff\xff\xff", 6, {"could not be read", "vrex version"}},
  };
  for (const ServerFailureCase& testCase : cases) {
    server.SetAnswer("ApiVersionQuery", testing::BodyAnswer(testCase.status, testCase.body,
                                                                 "application/x-protobuf"));
    const auto result = Vrex("call", {"ApiVersionQuery", "--retries", "0"});
    EXPECT_EQ(result.exitCode, testCase.exitCode) << testCase.status << ": " << result.err;
    for (const std::string& part : testCase.messageParts) {
      EXPECT_THAT(result.err, HasSubstr(part)) << testCase.status;
    }
    EXPECT_TRUE(result.out.empty());
  }
}

TEST(CallCommandWithoutServer, AnUnreachableServerIsATransportFailureWithAHint) {
  // Bind a port and stop serving it, so that nothing listens there.
  stub::StubServer server;
  server.Start();
  const std::string url = server.BaseUrl();
  server.Stop();

  const auto result = RunVrexProcess({"call", url, "ApiVersionQuery", "--retries", "0"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("cannot reach " + url + ": Connection refused"));
  EXPECT_THAT(result.err, HasSubstr("is the server running? check the URL"));
}

}  // namespace
}  // namespace vrex::cli
