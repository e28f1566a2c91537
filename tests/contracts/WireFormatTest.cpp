// The wire behaviour of the contract classes where a hand-made schema could
// go wrong: presence, unpacked lists, zigzag times, maps and UTF-8 checks.
#include <cstdint>
#include <functional>
#include <string>

#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include "AddInfoFilter.pb.h"
#include "ArchiveFileInfo.pb.h"
#include "ArchiveFileInfoQuery.pb.h"
#include "LastAveragesContainer.pb.h"
#include "MeasurementByIdQuery.pb.h"
#include "MessageContainer.pb.h"
#include "PropagateTopologyModelContainer.pb.h"
#include "ShiftItem.pb.h"
#include "TimeFilter.pb.h"
#include "VersionDTO.pb.h"
#include "WavFileQuery.pb.h"
#include "bcl.pb.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

struct EncodingCase {
  const char* name;
  std::function<std::string()> serialize;
  std::string expected;
};

template <typename Message>
std::function<std::string()> Serialized(std::function<void(Message&)> fill) {
  return [fill] {
    Message message;
    fill(message);
    return message.SerializeAsString();
  };
}

class Encoding : public ::testing::TestWithParam<EncodingCase> {};

TEST_P(Encoding, WritesTheExpectedBytes) {
  EXPECT_EQ(GetParam().serialize(), GetParam().expected);
}

const EncodingCase kEncodingCases[] = {
    {"DefaultStatusIsEmpty", Serialized<dc::MessageContainer>([](auto&) {}), ""},
    {"VersionMajorOnly", Serialized<dc::VersionDTO>([](auto& m) { m.set_major(4); }),
     std::string("\x08\x04", 2)},
    {"OptionalFalseIsSent",
     Serialized<dc::AddInfoFilter>([](auto& m) { m.set_exclude(false); }),
     std::string("\x18\x00", 2)},
    {"UnpackedIdentifiers",
     Serialized<dc::ArchiveFileInfoQuery>([](auto& m) {
       m.add_pkidents(1);
       m.add_pkidents(300);
     }),
     std::string("\x18\x01\x18\xac\x02", 5)},
    {"UnpackedAverages",
     Serialized<dc::LastAveragesContainer>([](auto& m) {
       m.add_values(1);
       m.add_values(2);
     }),
     std::string("\x08\x01\x08\x02", 4)},
    {"UnpackedWeekdays",
     Serialized<dc::ShiftItem>([](auto& m) {
       m.add_weekdays(en::Monday);
       m.add_weekdays(en::Sunday);
     }),
     std::string("\x28\x01\x28\x07", 4)},
    {"PlainZeroIdentifierIsSkipped",
     Serialized<dc::WavFileQuery>([](auto& m) { m.set_identifier(0); }), ""},
    {"PreEpochTimeIsZigzag",
     Serialized<bcl::DateTime>([](auto& m) { m.set_value(-1); }),
     std::string("\x08\x01", 2)},
    {"EpochIsEmpty", Serialized<bcl::DateTime>([](auto&) {}), ""},
    {"OffsetBeyond32Bits",
     Serialized<dc::ArchiveFileInfo>([](auto& m) { m.set_offset(4294967296LL); }),
     [] {
       dc::ArchiveFileInfo info;
       const auto* field = info.GetDescriptor()->FindFieldByName("Offset");
       // Tag byte of the Offset field, then the varint of 2^32.
       return std::string(1, static_cast<char>(field->number() << 3)) +
              std::string("\x80\x80\x80\x80\x10", 5);
     }()},
};

INSTANTIATE_TEST_SUITE_P(Contracts, Encoding, ::testing::ValuesIn(kEncodingCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Decoding, UnpackedFieldsAcceptPackedRuns) {
  dc::MeasurementByIdQuery query;
  ASSERT_TRUE(query.ParseFromString(std::string("\x1a\x02\x05\x06\x18\x07", 6)));
  ASSERT_EQ(query.identifier_size(), 3);
  EXPECT_EQ(query.identifier(0), 5);
  EXPECT_EQ(query.identifier(1), 6);
  EXPECT_EQ(query.identifier(2), 7);
}

TEST(Decoding, OptionalPresenceSurvivesARoundTrip) {
  dc::AddInfoFilter filter;
  filter.set_exclude(false);
  dc::AddInfoFilter back;
  ASSERT_TRUE(back.ParseFromString(filter.SerializeAsString()));
  EXPECT_TRUE(back.has_exclude());
  EXPECT_FALSE(dc::AddInfoFilter().has_exclude());
}

TEST(Decoding, UnknownEnumNumbersAreKept) {
  dc::MessageContainer status;
  ASSERT_TRUE(status.ParseFromString(std::string("\x10\xfa\xab\x01", 4)));  // 22010
  EXPECT_EQ(static_cast<int>(status.detailcode()), 22010);
  EXPECT_FALSE(en::DetailCode_IsValid(22010));
}

TEST(Decoding, InvalidUtf8FailsTheWholeParse) {
  dc::ArchiveFileInfoQuery query;
  query.set_line("Line-A");
  std::string wire = query.SerializeAsString();
  wire += std::string("\x0a\x02\xc3\x28", 4);  // Factory = invalid UTF-8
  EXPECT_FALSE(dc::ArchiveFileInfoQuery().ParseFromString(wire));
}

TEST(Decoding, PreEpochTimesRoundTrip) {
  for (const std::int64_t value : {std::int64_t{-1}, std::int64_t{-621355968000000000}, INT64_MIN, INT64_MAX}) {
    bcl::DateTime time;
    time.set_value(value);
    time.set_scale(bcl::DateTime::TICKS);
    time.set_kind(bcl::DateTime::UTC);
    bcl::DateTime back;
    ASSERT_TRUE(back.ParseFromString(time.SerializeAsString()));
    EXPECT_EQ(back.value(), value);
  }
}

TEST(Maps, DeterministicOutputIsSortedByKey) {
  dc::PropagateTopologyModelContainer container;
  auto& values = *container.mutable_values();
  values["line-b"].set_codecategory(en::CodeCategory_Topology);
  values["line-a"].set_codecategory(en::CodeCategory_None);
  std::string wire;
  {
    google::protobuf::io::StringOutputStream stream(&wire);
    google::protobuf::io::CodedOutputStream out(&stream);
    out.SetSerializationDeterministic(true);
    ASSERT_TRUE(container.SerializeToCodedStream(&out));
  }
  EXPECT_LT(wire.find("line-a"), wire.find("line-b"));
  dc::PropagateTopologyModelContainer back;
  ASSERT_TRUE(back.ParseFromString(wire));
  EXPECT_EQ(back.values().at("line-b").codecategory(), en::CodeCategory_Topology);
}

}  // namespace
