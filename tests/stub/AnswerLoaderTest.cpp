// Loading canned answers from data directories: the sample plant, the file
// format, and the errors that point at the file at fault.

#include <gmock/gmock.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <set>
#include <string>

#include "MeasurementContainer.pb.h"
#include "ScratchDirectory.h"
#include "VersionDTO.pb.h"
#include "vrex/RequestCatalog.h"
#include "vrex/stub/AnswerLoader.h"

namespace vrex::stub {
namespace {

namespace fs = std::filesystem;
namespace dc = Korvan::KQ::DataContracts;
using ::testing::HasSubstr;
using vrex::testing::ScratchDirectory;

const fs::path kSamplePlant = VREX_STUB_SAMPLE_PLANT;

std::unique_ptr<google::protobuf::Message> ParseAnswer(std::string_view requestType,
                                                       const CannedAnswer& answer) {
  const google::protobuf::Descriptor* descriptor = AnswerDescriptor(*FindRequest(requestType));
  std::unique_ptr<google::protobuf::Message> message(
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(descriptor)->New());
  EXPECT_TRUE(message->ParseFromString(answer.body)) << requestType;
  return message;
}

TEST(SamplePlant, EveryFileLoadsAsTheAnswerOfItsRequest) {
  std::set<std::string> stems;
  for (const auto& entry : fs::directory_iterator(kSamplePlant)) {
    const auto extension = entry.path().extension();
    if (extension == ".json" || extension == ".bin" || extension == ".meta") {
      stems.insert(entry.path().stem().string());
    }
  }
  ASSERT_FALSE(stems.empty());

  const AnswerSet answers = LoadAnswerDirectory(kSamplePlant).Value();

  ASSERT_EQ(answers.size(), stems.size());
  for (const auto& [requestType, answer] : answers) {
    EXPECT_EQ(answer.status, 200) << requestType;
    EXPECT_FALSE(answer.body.empty()) << requestType << " answers nothing";
    ParseAnswer(requestType, answer);
  }
}

TEST(AnswerDirectory, BodiesAndMetaFilesMakeTheAnswers) {
  const ScratchDirectory data;
  data.Write("ApiVersionQuery.json", R"({"Major": 4, "Minor": 7, "Patch": 3})");
  data.Write("ArchiveFileQuery.bin", std::string("PK\x03\x04\0\xff", 6));
  data.Write("MeasurementQuery.meta",
             "# the plan is being edited\n"
             "status = 503\n"
             "content-type = text/html\n"
             "delay-ms = 250\n"
             "header = Retry-After: 30\n"
             "header = Location: http://127.0.0.1/x#y\n");
  data.Write("README.md", "not an answer");

  const AnswerSet answers = LoadAnswerDirectory(data.Path()).Value();

  ASSERT_EQ(answers.size(), 3U);
  dc::VersionDTO version;
  ASSERT_TRUE(version.ParseFromString(answers.at("ApiVersionQuery").body));
  EXPECT_EQ(version.major(), 4);
  EXPECT_EQ(version.minor(), 7);
  EXPECT_EQ(version.patch(), 3);
  EXPECT_EQ(answers.at("ApiVersionQuery").contentType, "application/x-protobuf");

  const CannedAnswer& archive = answers.at("ArchiveFileQuery");
  EXPECT_EQ(archive.body, std::string("PK\x03\x04\0\xff", 6));
  EXPECT_EQ(archive.contentType, "application/octet-stream");

  const CannedAnswer& shifts = answers.at("MeasurementQuery");
  EXPECT_EQ(shifts.status, 503);
  EXPECT_EQ(shifts.contentType, "text/html");
  EXPECT_EQ(shifts.delay, std::chrono::milliseconds(250));
  EXPECT_TRUE(shifts.body.empty());
  ASSERT_EQ(shifts.headers.size(), 2U);
  EXPECT_EQ(shifts.headers[0].name, "Retry-After");
  EXPECT_EQ(shifts.headers[0].value, "30");
  EXPECT_EQ(shifts.headers[1].value, "http://127.0.0.1/x#y");
}

TEST(AnswerDirectory, AnswerTypeLetsACommandAnswerWithAMessage) {
  const ScratchDirectory data;
  data.Write("AddShiftCommand.json", R"({"Major": 9})");
  data.Write("AddShiftCommand.meta", "answer-type = VersionDTO\n");

  const AnswerSet answers = LoadAnswerDirectory(data.Path()).Value();

  dc::VersionDTO version;
  ASSERT_TRUE(version.ParseFromString(answers.at("AddShiftCommand").body));
  EXPECT_EQ(version.major(), 9);
}

TEST(AnswerDirectory, CaseFilesAddMatchedCasesAndSequencesToTheDefault) {
  const ScratchDirectory data;
  data.Write("MeasurementQuery.meta", "status = 204\n");
  data.Write("MeasurementQuery.cases.json", R"({"cases": [
      {"name": "line-a", "match": {"Line": "Line-A", "LastN": {"TopN": 2}}, "answers": [
        {"status": 503, "text": "busy", "delayMs": 5, "contentType": "text/x",
         "headers": [{"name": "Retry-After", "value": "1"}]},
        {"json": {"Measurements": {"7": {}}}},
        {"body": "AAEC", "delivery": "close-mid-body"}]}]})");

  const std::vector<StubCase> cases = LoadCaseDirectory(data.Path()).Value();

  ASSERT_EQ(cases.size(), 2U);
  EXPECT_EQ(cases[0].match, "");
  EXPECT_EQ(cases[0].answers.at(0).status, 204);
  const StubCase& lineA = cases[1];
  EXPECT_EQ(lineA.requestType, "MeasurementQuery");
  EXPECT_EQ(lineA.name, "line-a");
  EXPECT_THAT(lineA.match, HasSubstr(R"("TopN":2)"));
  ASSERT_EQ(lineA.answers.size(), 3U);
  const CannedAnswer& busy = lineA.answers[0];
  EXPECT_EQ(busy.status, 503);
  EXPECT_EQ(busy.body, "busy");
  EXPECT_EQ(busy.contentType, "text/x");
  EXPECT_EQ(busy.delay, std::chrono::milliseconds(5));
  ASSERT_EQ(busy.headers.size(), 1U);
  EXPECT_EQ(busy.headers[0].value, "1");
  dc::MeasurementContainer container;
  ASSERT_TRUE(container.ParseFromString(lineA.answers[1].body));
  EXPECT_EQ(container.measurements().count(7), 1U);
  EXPECT_EQ(lineA.answers[1].contentType, "application/x-protobuf");
  EXPECT_EQ(lineA.answers[2].body, std::string("\0\1\2", 3));
  EXPECT_EQ(lineA.answers[2].contentType, "application/octet-stream");
  EXPECT_EQ(lineA.answers[2].delivery, Delivery::CloseMidBody);
}

struct BadDirectoryCase {
  const char* name;
  std::vector<std::pair<const char*, const char*>> files;
  const char* fileAtFault;               // must be named in the message
  std::vector<const char*> reasonParts;  // and so must these
};

// Test output names a case by its name.
void PrintTo(const BadDirectoryCase& c, std::ostream* out) { *out << c.name; }

class BadAnswerDirectory : public ::testing::TestWithParam<BadDirectoryCase> {};

TEST_P(BadAnswerDirectory, FailsNamingTheFileAndTheReason) {
  const ScratchDirectory data;
  for (const auto& [name, content] : GetParam().files) {
    data.Write(name, content);
  }
  const auto loaded = LoadCaseDirectory(data.Path());
  ASSERT_FALSE(loaded.Ok()) << "loaded without complaint";
  const std::string& message = loaded.GetStatus().Message();
  EXPECT_THAT(message, HasSubstr((data.Path() / GetParam().fileAtFault).string()));
  for (const char* part : GetParam().reasonParts) {
    EXPECT_THAT(message, HasSubstr(part));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BadAnswerDirectory,
    ::testing::Values(
        BadDirectoryCase{
            "MalformedJson",
            {{"SimpleTopologyQuery.json", R"({"Values": [ {"Name": "Plant-North" ]})"}},
            "SimpleTopologyQuery.json",
            {"SimpleTopologyContainer"}},
        BadDirectoryCase{"MisspeltField",
                         {{"ApiVersionQuery.json", R"({"Mayor": 4})"}},
                         "ApiVersionQuery.json",
                         {"VersionDTO", "Mayor"}},
        BadDirectoryCase{"WrongValueType",
                         {{"ApiVersionQuery.json", R"({"Major": "four"})"}},
                         "ApiVersionQuery.json",
                         {"VersionDTO"}},
        BadDirectoryCase{"UnknownRequestType",
                         {{"MeasurmentQuery.json", "{}"}},
                         "MeasurmentQuery.json",
                         {"'MeasurmentQuery' is not a request type"}},
        BadDirectoryCase{"JsonForARequestAnsweredByNoMessage",
                         {{"AddShiftCommand.json", "{}"}},
                         "AddShiftCommand.json",
                         {"answered by no message"}},
        BadDirectoryCase{
            "AnswerTypeNamingNoMessage",
            {{"AddShiftCommand.json", "{}"}, {"AddShiftCommand.meta", "answer-type = Nothing\n"}},
            "AddShiftCommand.json",
            {"'Nothing' names no contract message"}},
        BadDirectoryCase{"JsonAndBinForOneRequest",
                         {{"ApiVersionQuery.json", "{}"}, {"ApiVersionQuery.bin", ""}},
                         "ApiVersionQuery.json",
                         {"ApiVersionQuery.bin"}},
        BadDirectoryCase{"UnknownMetaKey",
                         {{"MeasurementQuery.meta", "status = 200\nstatuss = 500\n"}},
                         "MeasurementQuery.meta:2",
                         {"unknown key 'statuss'"}},
        BadDirectoryCase{"StatusNotANumber",
                         {{"MeasurementQuery.meta", "status = 2OO\n"}},
                         "MeasurementQuery.meta:1",
                         {"'2OO'"}},
        BadDirectoryCase{"NegativeDelay",
                         {{"MeasurementQuery.meta", "delay-ms = -5\n"}},
                         "MeasurementQuery.meta:1",
                         {"'-5'"}},
        BadDirectoryCase{"LineWithoutEquals",
                         {{"MeasurementQuery.meta", "status 200\n"}},
                         "MeasurementQuery.meta:1",
                         {"key = value"}},
        BadDirectoryCase{"NotACaseFile",
                         {{"MeasurementQuery.cases.json", "[1]"}},
                         "MeasurementQuery.cases.json",
                         {"not a case file"}},
        BadDirectoryCase{"MatchNamingNoField",
                         {{"MeasurementQuery.cases.json",
                           R"({"cases": [{"name": "x", "match": {"Lien": "A"}}]})"}},
                         "MeasurementQuery.cases.json",
                         {"case \"x\"", "Lien"}},
        BadDirectoryCase{
            "CaseOfAnotherType",
            {{"MeasurementQuery.cases.json", R"({"cases": [{"requestType": "ApiVersionQuery"}]})"}},
            "MeasurementQuery.cases.json",
            {"is of ApiVersionQuery"}},
        BadDirectoryCase{"AnswerJsonNotTheMessage",
                         {{"ApiVersionQuery.cases.json",
                           R"({"cases": [{"answers": [{}, {"json": {"No": 1}}]}]})"}},
                         "ApiVersionQuery.cases.json",
                         {"case \"#1\", answer 2", "No"}},
        BadDirectoryCase{
            "UnknownDelivery",
            {{"ApiVersionQuery.cases.json", R"({"cases": [{"answers": [{"delivery": "slow"}]}]})"}},
            "ApiVersionQuery.cases.json",
            {"unknown delivery 'slow'"}},
        BadDirectoryCase{
            "SecondDefaultCase",
            {{"ApiVersionQuery.json", "{}"}, {"ApiVersionQuery.cases.json", R"({"cases": [{}]})"}},
            "ApiVersionQuery.cases.json",
            {"second default case"}},
        BadDirectoryCase{"HeaderWithoutColon",
                         {{"MeasurementQuery.meta", "header = Retry-After 30\n"}},
                         "MeasurementQuery.meta:1",
                         {"Name: value"}}),
    [](const ::testing::TestParamInfo<BadDirectoryCase>& info) { return info.param.name; });

TEST(AnswerDirectory, AMissingDirectoryIsAnError) {
  const ScratchDirectory data;
  EXPECT_FALSE(LoadAnswerDirectory(data.Path() / "absent").Ok());
}

}  // namespace
}  // namespace vrex::stub
