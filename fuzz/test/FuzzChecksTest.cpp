// The fuzz checks must pass what the contract allows and catch what it does
// not: a check that flags normal input would bury real findings, one that
// accepts anything would find nothing. (The answer round trip is protobuf's
// parser alone; the seeds' test runs it.)
#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

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

struct JsonCase {
  const char* name;
  const char* type;
  const char* json;
  bool accepted;
};

void PrintTo(const JsonCase& test, std::ostream* out) { *out << test.name; }

class JsonRequestRoundTripTest : public testing::TestWithParam<JsonCase> {};

TEST_P(JsonRequestRoundTripTest, ReadsBackWhatItPrints) {
  const JsonCase& test = GetParam();
  const CheckResult result = CheckJsonRequestRoundTrip(test.type, test.json);
  EXPECT_EQ(result.accepted, test.accepted);
  EXPECT_TRUE(result.Holds()) << result.problem;
}

INSTANTIATE_TEST_SUITE_P(
    Requests, JsonRequestRoundTripTest,
    testing::Values(JsonCase{"OptionalSetToDefault", "ApiVersionQuery", R"({"Factory": ""})", true},
                    JsonCase{"EnumByNumber", "LogEntryQuery", R"({"Level": 4})", true},
                    JsonCase{"UnknownField", "MeasurementQuery", R"({"Plant": "x"})", false}),
    [](const testing::TestParamInfo<JsonCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace vrex::fuzz
