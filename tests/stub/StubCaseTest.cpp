// Cases on a running server: which case answers a request, what a request
// that matches none is told, and answers given in turn.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "RawHttp.h"
#include "vrex/MessageJson.h"
#include "vrex/stub/StubServer.h"

namespace vrex::stub {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using vrex::testing::ExchangeRaw;
using vrex::testing::StatusOf;

/// A case that answers with its own name, so the answer tells who gave it.
StubCase Named(const char* type, const char* name, const char* match = "") {
  return {type, name, match, {TextAnswer(200, name)}};
}

struct Exchange {
  int status;
  std::string body;
};

Exchange Call(const StubServer& server, const std::string& method, const std::string& path,
              const std::string& body) {
  const std::string response = ExchangeRaw(
      server.Port(), method + " " + path + " HTTP/1.1\r\nConnection: close\r\nContent-Length: " +
                         std::to_string(body.size()) + "\r\n\r\n" + body);
  return {StatusOf(response), response.substr(response.find("\r\n\r\n") + 4)};
}

Exchange Send(const StubServer& server, const std::string& requestType, const std::string& body) {
  return Call(server, "POST", "/api/" + requestType, body);
}

std::string Encoded(const char* requestType, const char* json) {
  return MessageFromJson(requestType, json).Value()->SerializeAsString();
}

struct MatchCase {
  const char* name;
  std::vector<StubCase> cases;
  const char* requestType;
  std::string body;
  const char* answeredBy;  // nullptr: no case matches
  std::vector<const char*> explanation = {};
};

// Test output names a case by its name.
void PrintTo(const MatchCase& c, std::ostream* out) { *out << c.name; }

class CaseMatching : public ::testing::TestWithParam<MatchCase> {};

TEST_P(CaseMatching, TheFirstCaseTheRequestContainsAnswers) {
  const MatchCase& c = GetParam();
  StubServer server;
  for (const StubCase& stubCase : c.cases) server.AddCase(stubCase);
  server.Start();

  const Exchange answer = Send(server, c.requestType, c.body);

  const auto journal = server.Journal();
  ASSERT_EQ(journal.size(), 1U);
  if (c.answeredBy != nullptr) {
    EXPECT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(answer.body, std::string(c.answeredBy) + "\n");
    EXPECT_EQ(journal[0].matchedCase, c.answeredBy);
    EXPECT_FALSE(journal[0].unmatched);
    return;
  }
  EXPECT_EQ(answer.status, 404);
  for (const char* part : c.explanation) EXPECT_THAT(answer.body, HasSubstr(part));
  EXPECT_TRUE(journal[0].unmatched);
  EXPECT_EQ(journal[0].matchedCase, "");
}

constexpr char kMeasurements[] = "MeasurementQuery";
constexpr char kByIds[] = "MeasurementByIdQuery";
constexpr char kArchives[] = "ArchiveFileByIdQuery";

INSTANTIATE_TEST_SUITE_P(
    Cases, CaseMatching,
    ::testing::Values(
        MatchCase{
            "FieldsNotInTheMatchAreFree",
            {Named(kMeasurements, "a", R"({"Factory": "Plant-North", "Line": "Line-A"})"),
             Named(kMeasurements, "b", R"({"Line": "Line-B"})")},
            kMeasurements,
            Encoded(kMeasurements, R"({"Factory": "P", "Line": "Line-B", "LastN": {"TopN": 5}})"),
            "b"},
        MatchCase{"FirstMatchWins",
                  {Named(kMeasurements, "broad", R"({"Factory": "Plant-North"})"),
                   Named(kMeasurements, "narrow", R"({"Factory": "Plant-North", "Line": "L"})")},
                  kMeasurements,
                  Encoded(kMeasurements, R"({"Factory": "Plant-North", "Line": "L"})"),
                  "broad"},
        MatchCase{"DefaultAnswersTheRestWhereverItWasAdded",
                  {Named(kMeasurements, "first default"), Named(kMeasurements, "default"),
                   Named(kMeasurements, "a", R"({"Line": "Line-A"})")},
                  kMeasurements,
                  Encoded(kMeasurements, R"({"Line": "Line-C"})"),
                  "default"},
        MatchCase{"MatchedCaseGoesBeforeTheDefault",
                  {Named(kMeasurements, "default"), Named(kMeasurements, "a", R"({"Line": "A"})")},
                  kMeasurements,
                  Encoded(kMeasurements, R"({"Line": "A"})"),
                  "a"},
        MatchCase{"NestedMessageAsSubset",
                  {Named(kMeasurements, "top5", R"({"LastN": {"TopN": 5}})")},
                  kMeasurements,
                  Encoded(kMeasurements, R"({"LastN": {"TopN": 5, "TopNFirst": true}})"),
                  "top5"},
        MatchCase{"NestedFieldDiffers",
                  {Named(kMeasurements, "top5", R"({"LastN": {"TopN": 5}})")},
                  kMeasurements,
                  Encoded(kMeasurements, R"({"LastN": {"TopN": 6}})"),
                  nullptr,
                  {"no case of MeasurementQuery", "\"top5\" (LastN.TopN: wanted 5, got 6)"}},
        MatchCase{"NestedMessageMissing",
                  {Named(kMeasurements, "top5", R"({"LastN": {"TopN": 5}})")},
                  kMeasurements,
                  Encoded(kMeasurements, R"({"Line": "A"})"),
                  nullptr,
                  {"LastN: wanted a message, got none"}},
        MatchCase{"ExplicitDefaultValueMustMatch",
                  {Named(kMeasurements, "no line", R"({"Line": ""})")},
                  kMeasurements,
                  Encoded(kMeasurements, R"({"Line": "A"})"),
                  nullptr,
                  {R"(Line: wanted "", got "A")"}},
        MatchCase{"RepeatedScalarsInAnyOrder",
                  {Named(kByIds, "ids", R"({"Identifier": [1004, 1002]})")},
                  kByIds,
                  Encoded(kByIds, R"({"Identifier": [1001, 1002, 1004]})"),
                  "ids"},
        MatchCase{"RepeatedScalarMissing",
                  {Named(kByIds, "ids", R"({"Identifier": [1002, 1004]})")},
                  kByIds,
                  Encoded(kByIds, R"({"Identifier": [1002, 1003]})"),
                  nullptr,
                  {"Identifier: no element matches 1004"}},
        MatchCase{"RepeatedMessagesAsSubsets",
                  {Named(kArchives, "idle", R"({"AverageArchives": [{"Name": "Idle"}]})")},
                  kArchives,
                  Encoded(kArchives, R"({"AverageArchives": [{"Name": "Run"},
                                          {"Name": "Idle", "DaysToInclude": 3}]})"),
                  "idle"},
        MatchCase{"OneElementMustHoldTheWholeElementMatch",
                  {Named(kArchives, "idle3",
                         R"({"AverageArchives": [{"Name": "Idle", "DaysToInclude": 3}]})")},
                  kArchives,
                  Encoded(kArchives, R"({"AverageArchives": [{"Name": "Idle"},
                                          {"DaysToInclude": 3}]})"),
                  nullptr,
                  {R"(AverageArchives: no element matches {Name: "Idle" DaysToInclude: 3})"}},
        MatchCase{"ExplanationNamesTheClosestCasesFirst",
                  {Named(kMeasurements, "far", R"({"Factory": "Plant-South", "Line": "Line-C"})"),
                   Named(kMeasurements, "near", R"({"Factory": "Plant-North", "Line": "Line-A"})")},
                  kMeasurements,
                  Encoded(kMeasurements, R"({"Factory": "Plant-North", "Line": "Line-B"})"),
                  nullptr,
                  {R"(closest: "near" (Line: wanted "Line-A", got "Line-B"); "far" (Factory)"}},
        MatchCase{"BodyThatIsNoRequest",
                  {Named(kMeasurements, "a", R"({"Line": "A"})")},
                  kMeasurements,
                  std::string("\xff\xff\xff", 3),
                  nullptr,
                  {"its body is no MeasurementQuery"}}),
    [](const ::testing::TestParamInfo<MatchCase>& info) { return info.param.name; });

TEST(CaseSequence, GivesItsAnswersInTurnRepeatsTheLastAndStartsOverWhenReset) {
  CannedAnswer busy = TextAnswer(503, "busy");
  busy.headers.push_back({"Retry-After", "1"});
  StubServer server;
  server.AddCase({kMeasurements, "retry", R"({"Line": "A"})", {busy, TextAnswer(200, "ok")}});
  server.AddCase(
      {kMeasurements, "other", R"({"Line": "B"})", {TextAnswer(500, "x"), TextAnswer(201, "y")}});
  server.Start();
  const std::string lineA = Encoded(kMeasurements, R"({"Line": "A"})");
  const std::string lineB = Encoded(kMeasurements, R"({"Line": "B"})");

  const std::vector<std::pair<const std::string*, int>> turns{
      {&lineA, 503}, {&lineB, 500}, {&lineA, 200}, {&lineA, 200}, {&lineB, 201}};
  for (const auto& [body, status] : turns) {
    EXPECT_EQ(Send(server, kMeasurements, *body).status, status);
  }
  server.ResetSequences();
  EXPECT_EQ(Send(server, kMeasurements, lineA).status, 503);
  EXPECT_EQ(server.Cases().size(), 2U);
}

struct AdminStep {
  const char* method;
  const char* path;
  std::string body;
  int status;
  std::vector<const char*> present = {};
  std::vector<const char*> absent = {};
};

TEST(AdminApi, DrivesCasesSequencesAndTheJournalOverHttp) {
  const std::string lineA = Encoded(kMeasurements, R"({"Line": "Line-A"})");
  const std::string lineB = Encoded(kMeasurements, R"({"Line": "Line-B"})");
  const std::vector<AdminStep> steps{
      {"POST", "/__stub/cases",
       R"({"requestType": "MeasurementQuery", "name": "a", "match": {"Line": "Line-A"},
           "answers": [{"status": 503}, {"text": "ok"}]})",
       201},
      {"POST", "/__stub/cases", R"({"requestType": "NoSuchQuery"})", 400, {"'NoSuchQuery'"}},
      {"POST",
       "/__stub/cases",
       R"({"requestType": "MeasurementQuery", "match": {"Lien": 1}})",
       400,
       {"Lien"}},
      {"GET",
       "/__stub/cases",
       "",
       200,
       {R"("name": "a")", R"("requestType": "MeasurementQuery")", R"("Line": "Line-A")",
        R"("status": 503)"}},
      {"POST", "/api/MeasurementQuery", lineA, 503},
      {"POST", "/api/MeasurementQuery", lineA, 200, {"ok"}},
      {"POST", "/__stub/sequences/reset", "", 200},
      {"POST", "/api/MeasurementQuery", lineA, 503},
      {"POST", "/api/MeasurementQuery", lineB, 404, {R"(wanted "Line-A", got "Line-B")"}},
      {"GET",
       "/__stub/journal",
       "",
       200,
       {R"("Line": "Line-B")", R"("matchedCase": "a")", R"("unmatched": true)",
        R"("name": "Connection")", R"("value": "close")", R"("path": "/api/MeasurementQuery")"},
       {"__stub"}},
      {"DELETE", "/__stub/journal", "", 200},
      {"GET", "/__stub/journal", "", 200, {}, {"MeasurementQuery"}},
      {"DELETE", "/__stub/cases", "", 200},
      {"POST", "/api/MeasurementQuery", lineA, 200},
      {"GET", "/__stub/cases", "", 200, {}, {"Line-A"}},
      {"PUT", "/__stub/cases", "", 405},
      {"GET", "/__stub/case", "", 404, {"GET /__stub/journal"}},
  };
  StubServer server;
  server.Start();
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const AdminStep& step = steps[i];
    SCOPED_TRACE("step " + std::to_string(i + 1) + ": " + step.method + " " + step.path);
    const Exchange answer = Call(server, step.method, step.path, step.body);
    EXPECT_EQ(answer.status, step.status) << answer.body;
    for (const char* part : step.present) EXPECT_THAT(answer.body, HasSubstr(part));
    for (const char* part : step.absent) EXPECT_THAT(answer.body, Not(HasSubstr(part)));
  }
}

}  // namespace
}  // namespace vrex::stub
