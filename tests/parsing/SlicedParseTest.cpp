// Answers parsed in slices on several threads must be the messages a parse
// in one piece gives (fuzz/support/SlicedParseCheck.h): every answer of the
// sample plant (each loads and parses as its request's answer), and
// encodings whose slices would not merge back by themselves.
#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SamplePlantAnswers.h"
#include "SlicedParseCheck.h"
#include "parse/AnswerParser.h"
#include "parse/AnswerStream.h"
#include "vrex/ContractTypes.h"
#include "vrex/Contracts.h"

namespace {

using google::protobuf::Descriptor;

constexpr std::size_t kChunkSizes[] = {1, 3, 1 << 20};

using vrex::testing::Encoding;

std::string NameOf(const ::testing::TestParamInfo<Encoding>& info) { return info.param.name; }

class SlicedParse : public ::testing::TestWithParam<Encoding> {};

TEST_P(SlicedParse, GivesTheMessageOfAParseInOnePiece) {
  const Encoding& encoding = GetParam();
  EXPECT_FALSE(encoding.body.empty()) << "nothing to parse";
  for (const std::size_t chunkBytes : kChunkSizes) {
    SCOPED_TRACE("chunks of " + std::to_string(chunkBytes));
    const auto result = vrex::fuzz::CheckSlicedParse(*encoding.type, encoding.body, chunkBytes);
    EXPECT_TRUE(result.check.Holds()) << result.check.problem;
    EXPECT_EQ(result.check.accepted, encoding.accepted);
  }
}

INSTANTIATE_TEST_SUITE_P(SamplePlant, SlicedParse,
                         ::testing::ValuesIn(vrex::testing::SamplePlantAnswers()), NameOf);

const Descriptor* Type(const char* name) { return vrex::FindContractMessage(name); }

std::string Bytes(std::initializer_list<unsigned char> bytes) {
  return std::string(bytes.begin(), bytes.end());
}

// Top-level fields, one per line; each may go to a slice of its own.
INSTANTIATE_TEST_SUITE_P(
    Encodings, SlicedParse,
    ::testing::Values(
        Encoding{"DuplicateMapKeysLastEntryWins", Type("MeasurementContainer"),
                 Bytes({0x0a, 0x08, 0x08, 0x01, 0x12, 0x04, 0x0a, 0x02, 0x68, 0x05,  //
                        0x0a, 0x02, 0x08, 0x02,                                      //
                        0x0a, 0x02, 0x08, 0x01}),
                 true},
        Encoding{"SingleValueFieldLastZeroWins", Type("VersionDTO"),
                 Bytes({0x08, 0x04, 0x10, 0x02, 0x08, 0x00}), true},
        Encoding{"MessageFieldOccurrencesMerge", Type("VectorTrackOfMeasurementsContainer"),
                 Bytes({0x0a, 0x03, 0x0a, 0x01, 'a',  //
                        0x0a, 0x03, 0x12, 0x01, 'b',  //
                        0x0a, 0x02, 0x0a, 0x00}),
                 true},
        Encoding{"UnknownFieldsKeepTheirOrder", Type("GeneralInformationContainer"),
                 Bytes({0x0a, 0x00, 0xf8, 0x06, 0x05, 0x0a, 0x00, 0x82, 0x07, 0x01, 'x'}), true},
        Encoding{"PackedAndUnpackedRunsOfOneList", Type("LastAveragesContainer"),
                 Bytes({0x08, 0x01, 0x0a, 0x02, 0x02, 0x03, 0x08, 0x04}), true},
        // Field 1 again, its tag in 5 bytes with bits beyond 32 that protobuf drops.
        Encoding{"FiveByteTagKeepsItsLow32Bits", Type("VersionDTO"),
                 Bytes({0x08, 0x04, 0x88, 0x80, 0x80, 0x80, 0x70, 0x07}), true},
        Encoding{"WrongWireTypeKeptAsUnknown", Type("VersionDTO"),
                 Bytes({0x0d, 0x01, 0x00, 0x00, 0x00, 0x08, 0x02}), true},
        Encoding{"GroupOfAnUnknownField", Type("GeneralInformationContainer"),
                 Bytes({0x0a, 0x00, 0x2b, 0x08, 0x01, 0x2c, 0x0a, 0x00}), true},
        Encoding{"TruncatedLastField", Type("GeneralInformationContainer"),
                 Bytes({0x0a, 0x00, 0x0a, 0x05, 0x08}), false},
        Encoding{"FieldNumberZero", Type("GeneralInformationContainer"),
                 Bytes({0x0a, 0x00, 0x00, 0x0a, 0x00}), false},
        Encoding{"InvalidUtf8InALaterSlice", Type("GeneralInformationContainer"),
                 Bytes({0x0a, 0x00, 0x0a, 0x03, 0x12, 0x01, 0xff}), false},
        Encoding{"MalformedListElement", Type("GeneralInformationContainer"),
                 Bytes({0x0a, 0x00, 0x0a, 0x02, 0x08, 0xff}), false}),
    NameOf);

struct Decision {
  const char* name;
  unsigned threads;
  std::size_t parallelFrom;
  bool lengthAnnounced;
  bool sliced;
};

void PrintTo(const Decision& decision, std::ostream* out) { *out << decision.name; }

// Slices need a thread to spare and an answer of at least parallelFrom
// bytes; of one whose length is not announced, slicing starts once that
// many bytes have come.
class SlicingDecision : public ::testing::TestWithParam<Decision> {};

TEST_P(SlicingDecision, SlicesOnlyLargeAnswersWithThreadsToSpare) {
  const Decision& decision = GetParam();
  const Encoding measurements = vrex::testing::SamplePlantAnswer("MeasurementQuery");
  vrex::internal::AnswerParser parser({decision.parallelFrom, decision.threads});
  Korvan::KQ::DataContracts::MeasurementContainer answer;
  vrex::internal::AnswerStream stream(parser, answer);
  const std::string_view body = measurements.body;
  for (std::size_t offset = 0; offset < body.size(); offset += 16) {
    stream.Feed(body.substr(offset, 16), decision.lengthAnnounced ? body.size() : 0);
  }
  ASSERT_TRUE(stream.Finish());
  EXPECT_EQ(stream.JoinedSlices() > 1, decision.sliced) << stream.JoinedSlices();
}

INSTANTIATE_TEST_SUITE_P(Answers, SlicingDecision,
                         ::testing::Values(Decision{"OneThread", 1, 0, true, false},
                                           Decision{"TwoThreadsLargeAnswer", 2, 64, true, true},
                                           Decision{"LengthUnannounced", 2, 64, false, true},
                                           Decision{"SmallAnswer", 2, 1 << 20, true, false}),
                         [](const ::testing::TestParamInfo<Decision>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
