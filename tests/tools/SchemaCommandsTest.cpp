// The offline commands list, describe and template: no server involved.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "VrexProcess.h"
#include "vrex/MessageJson.h"
#include "vrex/RequestCatalog.h"

namespace vrex::cli {
namespace {

using testing::RunVrexProcess;
using ::testing::HasSubstr;
using ::testing::Not;

// "(outcome)" as a regular expression.
std::string Literal(const std::string& text) {
  std::string pattern;
  for (const char c : text) {
    if (c == '(' || c == ')') pattern += '\\';
    pattern += c;
  }
  return pattern;
}

TEST(ListCommand, ListsEveryRequestWithItsKindAndAnswerUnderItsArea) {
  const auto result = RunVrexProcess({"list"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  for (const RequestInfo& request : Requests()) {
    EXPECT_THAT(result.out, HasSubstr(std::string(request.area) + "\n"));
    const std::string answer = request.kind == RequestKind::Query ? std::string(request.answerType)
                               : request.kind == RequestKind::Command ? "(outcome)"
                                                                      : "(file)";
    EXPECT_THAT(result.out, ::testing::ContainsRegex("\n  " + std::string(request.name) + " +" +
                                                     std::string(ToString(request.kind)) + " +" +
                                                     Literal(answer) + "\n"));
  }
}

TEST(ListCommand, AFamilyNarrowsTheListIgnoringCase) {
  const auto result = RunVrexProcess({"list", "--family", "serverlog"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("LogEntryQuery"));
  EXPECT_THAT(result.out, HasSubstr("PropagateLogEntryQuery"));
  EXPECT_THAT(result.out, Not(HasSubstr("MeasurementQuery")));
}

TEST(ListCommand, AnUnknownFamilyNamesTheFamilies) {
  const auto result = RunVrexProcess({"list", "--family", "Nonsense"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("no area is named \"Nonsense\""));
  EXPECT_THAT(result.err, HasSubstr("Measurements"));
}

TEST(ListCommand, JsonListsEveryRequestOnce) {
  const auto result = RunVrexProcess({"list", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  for (const RequestInfo& request : Requests()) {
    EXPECT_THAT(result.out, HasSubstr("\"request\": \"" + std::string(request.name) +
                                      "\", \"kind\": \"" + std::string(ToString(request.kind))));
  }
}

TEST(DescribeCommand, ShowsFieldsWithNumbersTypesAndPresence) {
  const auto result = RunVrexProcess({"describe", "MeasurementQuery"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("answered by MeasurementContainer"));
  EXPECT_THAT(result.out, ::testing::ContainsRegex("\n1 +Factory +string +plain\n"));
  EXPECT_THAT(result.out, ::testing::ContainsRegex("\n14 +Clavis +ClavisFilter +optional\n"));
  EXPECT_THAT(result.out, ::testing::ContainsRegex("\n15 +IdRange +IdRangeFilter +optional\n"));
}

TEST(DescribeCommand, ShowsMapsUnpackedListsAndEnumerations) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"MeasurementContainer", "1 +Measurements +map<int32, Measurement> +map"},
      {"GeneralInformationByIdQuery", "3 +Identifier +int32 +repeated, unpacked"},
      {"LogEntry", "2 +Level +Enumerator.LogLevel +plain"},
      {"bcl.DateTime", "3 +kind +bcl.DateTime.DateTimeKind +plain"},
      {"LogLevel", "Critical +5"},
      {"bcl.DateTime.DateTimeKind", "UTC +1"},
  };
  for (const auto& [type, row] : cases) {
    const auto result = RunVrexProcess({"describe", type});
    ASSERT_EQ(result.exitCode, 0) << type << result.err;
    EXPECT_THAT(result.out, ::testing::ContainsRegex(row)) << type;
  }
}

TEST(DescribeCommand, AnUnknownTypeIsAUsageError) {
  const auto result = RunVrexProcess({"describe", "MeasurmentQuery"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("no message or enumeration named \"MeasurmentQuery\""));
}

TEST(TemplateCommand, ShowsEveryFieldAndParsesBack) {
  const auto result = RunVrexProcess({"template", "MeasurementQuery"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  for (const char* field : {"\"Factory\"", "\"Time\"", "\"Clavis\"", "\"Items\"", "\"Exclude\"",
                            "\"scale\": \"SECONDS\"", "\"kind\": \"UTC\""}) {
    EXPECT_THAT(result.out, HasSubstr(field));
  }
  EXPECT_TRUE(MessageFromJson("MeasurementQuery", result.out).Ok());
}

TEST(HelpOutput, EveryCommandHasHelpWithExamples) {
  for (const char* command : {"list", "describe", "template", "call", "download", "version",
                              "topology", "tests", "measurements", "log"}) {
    const auto result = RunVrexProcess({command, "--help"});
    EXPECT_EQ(result.exitCode, 0) << command;
    EXPECT_THAT(result.out, HasSubstr("EXAMPLES\n  vrex " + std::string(command))) << command;
  }
  const auto main = RunVrexProcess({"--help"});
  EXPECT_THAT(main.out, HasSubstr("EXIT STATUS"));
  EXPECT_THAT(main.out, HasSubstr("7  version not accepted"));
}

TEST(HelpOutput, NoCommandIsAUsageError) {
  const auto result = RunVrexProcess({});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("--help"));
}

}  // namespace
}  // namespace vrex::cli
