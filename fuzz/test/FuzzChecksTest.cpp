// The fuzz checks must pass what the contract allows and catch what it does
// not: a check that flags normal input would bury real findings, one that
// accepts anything would find nothing.
#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <string>

#include "AnswerRoundTrip.h"
#include "CatalogTypes.h"
#include "JsonRequestRoundTrip.h"
#include "vrex/ContractTypes.h"
#include "vrex/RequestCatalog.h"

namespace vrex::fuzz {
namespace {

using google::protobuf::Descriptor;

TEST(CatalogTypesTest, EveryQueryAnswerAndEveryRequestIsSelectable) {
  for (const RequestInfo& request : Requests()) {
    const Descriptor* requestType = FindContractMessage(request.name);
    ASSERT_NE(requestType, nullptr) << request.name;
    EXPECT_EQ(&SelectType(RequestTypes(), SelectorOf(RequestTypes(), *requestType)), requestType);
    if (request.kind == RequestKind::Query) {
      const Descriptor* answer = AnswerDescriptor(request);
      ASSERT_NE(answer, nullptr) << request.name;
      EXPECT_EQ(&SelectType(AnswerTypes(), SelectorOf(AnswerTypes(), *answer)), answer);
    }
  }
  EXPECT_EQ(RequestTypes().size(), Requests().size());
}

TEST(CatalogTypesTest, SelectorWrapsAroundTheList) {
  const TypeList& types = AnswerTypes();
  EXPECT_EQ(&SelectType(types, static_cast<std::uint8_t>(types.size())), types.front());
}

struct AnswerCase {
  const char* name;
  const char* type;
  std::string body;
  bool accepted;
};

class AnswerRoundTripTest : public testing::TestWithParam<AnswerCase> {};

TEST_P(AnswerRoundTripTest, AcceptsWhatTheParserAcceptsAndStaysStable) {
  const AnswerCase& test = GetParam();
  const Descriptor* type = FindContractMessage(test.type);
  ASSERT_NE(type, nullptr);
  const CheckResult result = CheckAnswerRoundTrip(*type, test.body);
  EXPECT_EQ(result.accepted, test.accepted);
  EXPECT_TRUE(result.Holds()) << result.problem;
}

// Bodies the writer would never produce but the parser accepts, and bodies
// it must refuse.
INSTANTIATE_TEST_SUITE_P(
    Bodies, AnswerRoundTripTest,
    testing::Values(
        AnswerCase{"Empty", "VersionDTO", "", true},
        AnswerCase{"Major4", "VersionDTO", std::string("\x08\x04", 2), true},
        AnswerCase{"NonMinimalVarint", "VersionDTO", std::string("\x08\x84\x00", 3), true},
        AnswerCase{"FieldsOutOfOrder", "VersionDTO", std::string("\x10\x02\x08\x04", 4), true},
        AnswerCase{"DuplicateFieldLastWins", "VersionDTO", std::string("\x08\x01\x08\x04", 4),
                   true},
        AnswerCase{"UnknownFieldKept", "VersionDTO", std::string("\xf8\x06\x05", 3), true},
        AnswerCase{"UnknownEnumNumber", "PropagateTopologyModelContainer",
                   std::string("\x0a\x07\x0a\x01k\x12\x02\x10\x63", 9), true},
        AnswerCase{"PackedRunForUnpackedList", "LastAveragesContainer",
                   std::string("\x0a\x02\x01\x02", 4), true},
        AnswerCase{"DuplicateMapKeys", "MeasurementContainer",
                   std::string("\x0a\x02\x08\x01\x0a\x02\x08\x01\x0a\x02\x08\x02", 12), true},
        AnswerCase{"TruncatedVarint", "VersionDTO", std::string("\x08", 1), false},
        AnswerCase{"InvalidUtf8", "VersionDTO", std::string("\x22\x01\xff", 3), false},
        AnswerCase{"LengthBeyondBody", "VersionDTO",
                   std::string("\x22\x05"
                               "ab",
                               4),
                   false},
        AnswerCase{"EndGroupTag", "VersionDTO", std::string("\x0c", 1), false}),
    [](const testing::TestParamInfo<AnswerCase>& info) { return std::string(info.param.name); });

struct JsonCase {
  const char* name;
  const char* type;
  const char* json;
  bool accepted;
};

class JsonRequestRoundTripTest : public testing::TestWithParam<JsonCase> {};

TEST_P(JsonRequestRoundTripTest, ReadsBackWhatItPrints) {
  const JsonCase& test = GetParam();
  const CheckResult result = CheckJsonRequestRoundTrip(test.type, test.json);
  EXPECT_EQ(result.accepted, test.accepted);
  EXPECT_TRUE(result.Holds()) << result.problem;
}

INSTANTIATE_TEST_SUITE_P(
    Requests, JsonRequestRoundTripTest,
    testing::Values(
        JsonCase{"Empty", "SimpleTopologyQuery", "{}", true},
        JsonCase{"LineScoped", "MeasurementQuery",
                 R"({"Factory": "Plant-North", "Line": "Line-A", "LastN": {"TopN": 5}})", true},
        JsonCase{"OptionalSetToDefault", "ApiVersionQuery", R"({"Factory": ""})", true},
        JsonCase{"EnumByNumber", "LogEntryQuery", R"({"Level": 4})", true},
        JsonCase{"UnknownField", "MeasurementQuery", R"({"Plant": "x"})", false},
        JsonCase{"NotJson", "MeasurementQuery", "Factory=x", false},
        JsonCase{"WrongKind", "MeasurementQuery", R"({"Factory": 5})", false},
        JsonCase{"UnknownType", "NoSuchQuery", "{}", false}),
    [](const testing::TestParamInfo<JsonCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace vrex::fuzz
