// The request catalog against the compiled contract: every request message
// listed once, with an answer that exists and fits its kind.
#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "vrex/ContractTypes.h"
#include "vrex/RequestCatalog.h"

namespace {

namespace pb = google::protobuf;

bool EndsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// The request messages of the contract, read from the schema files themselves
// (the generated pool loads a file only when asked for it).
std::set<std::string> ContractRequestNames() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(VREX_CONTRACTS_DIR)) {
    if (entry.path().extension() != ".proto") continue;
    const pb::FileDescriptor* file =
        pb::DescriptorPool::generated_pool()->FindFileByName(entry.path().filename().string());
    EXPECT_NE(file, nullptr) << entry.path() << " is not compiled into the library";
    for (int i = 0; file != nullptr && i < file->message_type_count(); ++i) {
      const std::string& name = file->message_type(i)->name();
      if (EndsWith(name, "Query") || EndsWith(name, "Command")) names.insert(name);
    }
  }
  return names;
}

// The stem of a request, its name without "Query" or "Command".
std::string_view Stem(std::string_view request) {
  const std::size_t suffix = EndsWith(request, "Query") ? 5 : EndsWith(request, "Command") ? 7 : 0;
  return request.substr(0, request.size() - suffix);
}

// Each request message of the contract is listed once, found by its name,
// answered by a message exactly when it is a query (by the container of its
// name where there is one), and its area's requests stand together.
TEST(RequestCatalog, ListsEveryRequestOfTheContractOnceWithAnAnswerThatFitsItsKind) {
  std::set<std::string> unlisted = ContractRequestNames();
  ASSERT_FALSE(unlisted.empty());
  std::set<std::string_view> areas;
  std::string_view previousArea;
  for (const auto& request : vrex::Requests()) {
    const std::string name(request.name);
    SCOPED_TRACE(name);
    EXPECT_EQ(unlisted.erase(name), 1U) << "no request of the contract, or listed twice";
    EXPECT_EQ(vrex::FindRequest(name), &request);
    const pb::Descriptor* answer = vrex::AnswerDescriptor(request);
    if (request.kind == vrex::RequestKind::Query) {
      ASSERT_NE(answer, nullptr) << "unknown answer " << request.answerType;
      EXPECT_EQ(answer->name(), request.answerType);
    } else {
      EXPECT_TRUE(request.answerType.empty());
      EXPECT_EQ(answer, nullptr);
    }
    for (const char* suffix : {"Container", "Store"}) {
      const std::string partner = std::string(Stem(name)) + suffix;
      if (vrex::FindContractMessage(partner) != nullptr) {
        EXPECT_EQ(request.answerType, partner);
      }
    }
    EXPECT_FALSE(request.area.empty());
    if (request.area != previousArea) {
      EXPECT_TRUE(areas.insert(request.area).second) << "area split";
    }
    previousArea = request.area;
  }
  EXPECT_TRUE(unlisted.empty()) << "not listed: " << ::testing::PrintToString(unlisted);
}

TEST(ContractTypes, ShortNamesDropOnlyTheContractsOwnPackages) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"Korvan.KQ.DataContracts.MeasurementQuery", "MeasurementQuery"},
      {"Korvan.KQ.DataContracts.Enumerator.CodeCategory", "Enumerator.CodeCategory"},
      {"Korvan.KQ.DataContractsX.Factory", "Korvan.KQ.DataContractsX.Factory"},
      {"Korvan.KQ.DataContracts", "Korvan.KQ.DataContracts"},
      {"google.protobuf.Timestamp", "google.protobuf.Timestamp"},
  };
  for (const auto& [fullName, shortName] : cases) {
    EXPECT_EQ(vrex::ContractShortName(fullName), shortName);
  }
}

struct OverrideCase {
  std::string_view request;
  std::string_view overrideType;
  const char* expected;  // full name of the answer, nullptr for none
};

TEST(RequestCatalog, AnswerOverrideWinsAndAnUnknownOneGivesNone) {
  const OverrideCase cases[] = {
      {"FactoryResultCountQuery", {}, "Korvan.KQ.DataContracts.LineResultCountContainer"},
      {"FactoryResultCountQuery", "ResultCountContainer",
       "Korvan.KQ.DataContracts.ResultCountContainer"},
      {"AddShiftCommand", "MessageContainer", "Korvan.KQ.DataContracts.MessageContainer"},
      {"MeasurementQuery", "NoSuchContainer", nullptr},
      {"MeasurementQuery", "CodeCategory", nullptr},  // an enumeration, not a message
      {"MeasurementQuery", "Korvan.KQ.DataContracts.ResultCountContainer",
       "Korvan.KQ.DataContracts.ResultCountContainer"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.request) + " / " + std::string(c.overrideType));
    const vrex::RequestInfo* request = vrex::FindRequest(c.request);
    ASSERT_NE(request, nullptr);
    const pb::Descriptor* answer = vrex::AnswerDescriptor(*request, c.overrideType);
    if (c.expected == nullptr) {
      EXPECT_EQ(answer, nullptr);
    } else {
      ASSERT_NE(answer, nullptr);
      EXPECT_EQ(answer->full_name(), c.expected);
    }
  }
}

}  // namespace
