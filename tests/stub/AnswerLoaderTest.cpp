// Loading canned answers from data directories: the file format, and the
// errors that point at the file at fault.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "MeasurementContainer.pb.h"
#include "ScratchDirectory.h"
#include "VersionDTO.pb.h"
#include "vrex/stub/AnswerLoader.h"

namespace vrex::stub {
namespace {

namespace fs = std::filesystem;
namespace dc = Korvan::KQ::DataContracts;
using ::testing::HasSubstr;
using vrex::testing::ScratchDirectory;

TEST(AnswerDirectory, BodiesMetaFilesAndCaseFilesMakeTheCases) {
  const ScratchDirectory data;
  data.Write("ApiVersionQuery.json", R"({"Major": 4, "Minor": 7, "Patch": 3})");
  data.Write("ArchiveFileQuery.bin", std::string("PK\x03\x04\0\xff", 6));
  data.Write("AddShiftCommand.json", R"({"Major": 9})");
  data.Write("AddShiftCommand.meta", "answer-type = VersionDTO\n");
  data.Write("MeasurementQuery.meta",
             "# the plan is being edited\n"
             "status = 503\n"
             "content-type = text/html\n"
             "delay-ms = 250\n"
             "header = Retry-After: 30\n"
             "header = Location: http://127.0.0.1/x#y\n");
  data.Write("MeasurementQuery.cases.json", R"({"cases": [
      {"name": "line-a", "match": {"Line": "Line-A", "LastN": {"TopN": 2}}, "answers": [
        {"status": 504, "text": "busy", "delayMs": 5, "contentType": "text/x",
         "headers": [{"name": "Retry-After", "value": "1"}]},
        {"json": {"Measurements": {"7": {}}}},
        {"body": "AAEC", "delivery": "close-mid-body"}]}]})");
  data.Write("README.md", "not an answer");

  const std::vector<StubCase> cases = LoadCaseDirectory(data.Path()).Value();

  ASSERT_EQ(cases.size(), 5U);  // the defaults in name order, then the case files' cases
  dc::VersionDTO version;
  ASSERT_TRUE(version.ParseFromString(cases[1].answers.at(0).body));
  EXPECT_EQ(cases[1].requestType, "ApiVersionQuery");
  EXPECT_EQ(version.patch(), 3);
  EXPECT_EQ(cases[1].answers[0].contentType, "application/x-protobuf");
  ASSERT_TRUE(version.ParseFromString(cases[0].answers.at(0).body));
  EXPECT_EQ(version.major(), 9) << "answer-type lets a command answer with a message";

  const CannedAnswer& archive = cases[2].answers.at(0);
  EXPECT_EQ(archive.body, std::string("PK\x03\x04\0\xff", 6));
  EXPECT_EQ(archive.contentType, "application/octet-stream");

  EXPECT_EQ(cases[3].match, "");
  const CannedAnswer& shifts = cases[3].answers.at(0);
  EXPECT_EQ(shifts.status, 503);
  EXPECT_EQ(shifts.contentType, "text/html");
  EXPECT_EQ(shifts.delay, std::chrono::milliseconds(250));
  EXPECT_TRUE(shifts.body.empty());
  ASSERT_EQ(shifts.headers.size(), 2U);
  EXPECT_EQ(shifts.headers[0].name, "Retry-After");
  EXPECT_EQ(shifts.headers[0].value, "30");
  EXPECT_EQ(shifts.headers[1].value, "http://127.0.0.1/x#y");

  const StubCase& lineA = cases[4];
  EXPECT_EQ(lineA.requestType, "MeasurementQuery");
  EXPECT_EQ(lineA.name, "line-a");
  EXPECT_THAT(lineA.match, HasSubstr(R"("TopN":2)"));
  ASSERT_EQ(lineA.answers.size(), 3U);
  const CannedAnswer& busy = lineA.answers[0];
  EXPECT_EQ(busy.status, 504);
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

TEST(AnswerDirectory, FailsNamingTheFileAndTheReason) {
  struct Bad {
    const char* file;     // written with `content`, and named in the message
    const char* content;  // with what follows in it
    std::vector<const char*> reason;
    std::pair<const char*, const char*> other = {};  // a second file, if any
  };
  const std::vector<Bad> rows{
      {"ApiVersionQuery.json", R"({"Mayor": 4})", {"VersionDTO", "Mayor"}},
      {"MeasurmentQuery.json", "{}", {"'MeasurmentQuery' is not a request type"}},
      {"AddShiftCommand.json", "{}", {"answered by no message"}},
      {"AddShiftCommand.json",
       "{}",
       {"'Nothing' names no contract message"},
       {"AddShiftCommand.meta", "answer-type = Nothing\n"}},
      {"ApiVersionQuery.json", "{}", {"ApiVersionQuery.bin"}, {"ApiVersionQuery.bin", ""}},
      {"MeasurementQuery.meta", "status = 200\nstatuss = 500\n", {":2: unknown key 'statuss'"}},
      {"MeasurementQuery.meta", "status = 2OO\n", {":1: '2OO'"}},
      {"MeasurementQuery.meta", "delay-ms = -5\n", {":1: '-5'"}},
      {"MeasurementQuery.meta", "status 200\n", {":1: expected 'key = value'"}},
      {"MeasurementQuery.meta", "header = Retry-After 30\n", {":1: a header is written"}},
      {"MeasurementQuery.cases.json", "[1]", {"not a case file"}},
      {"MeasurementQuery.cases.json",
       R"({"cases": [{"name": "x", "match": {"Lien": "A"}}]})",
       {"case \"x\"", "Lien"}},
      {"MeasurementQuery.cases.json",
       R"({"cases": [{"requestType": "ApiVersionQuery"}]})",
       {"is of ApiVersionQuery"}},
      {"ApiVersionQuery.cases.json",
       R"({"cases": [{"answers": [{}, {"json": {"No": 1}}]}]})",
       {"case \"#1\", answer 2", "No"}},
      {"ApiVersionQuery.cases.json",
       R"({"cases": [{"answers": [{"delivery": "slow"}]}]})",
       {"unknown delivery 'slow'"}},
      {"ApiVersionQuery.cases.json",
       R"({"cases": [{}]})",
       {"second default case"},
       {"ApiVersionQuery.json", "{}"}},
  };
  for (const Bad& row : rows) {
    SCOPED_TRACE(std::string(row.file) + ": " + row.content);
    const ScratchDirectory data;
    data.Write(row.file, row.content);
    if (row.other.first != nullptr) data.Write(row.other.first, row.other.second);
    const auto loaded = LoadCaseDirectory(data.Path());
    ASSERT_FALSE(loaded.Ok()) << "loaded without complaint";
    const std::string& message = loaded.GetStatus().Message();
    EXPECT_THAT(message, HasSubstr((data.Path() / row.file).string()));
    for (const char* part : row.reason) EXPECT_THAT(message, HasSubstr(part));
  }
  EXPECT_FALSE(LoadAnswerDirectory(ScratchDirectory().Path() / "absent").Ok());
}

}  // namespace
}  // namespace vrex::stub
