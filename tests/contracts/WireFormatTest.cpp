// The bytes of the contract classes where a hand-made schema could go wrong:
// field numbers, explicit presence, unpacked lists and zigzag times.
#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "AddInfoFilter.pb.h"
#include "ArchiveFileInfo.pb.h"
#include "ArchiveFileInfoQuery.pb.h"
#include "LastAveragesContainer.pb.h"
#include "MessageContainer.pb.h"
#include "ShiftItem.pb.h"
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

void PrintTo(const EncodingCase& encoding, std::ostream* out) { *out << encoding.name; }

class Encoding : public ::testing::TestWithParam<EncodingCase> {};

TEST_P(Encoding, WritesTheExpectedBytes) { EXPECT_EQ(GetParam().serialize(), GetParam().expected); }

const EncodingCase kEncodingCases[] = {
    {"DefaultStatusIsEmpty", Serialized<dc::MessageContainer>([](auto&) {}), ""},
    {"VersionMajorOnly", Serialized<dc::VersionDTO>([](auto& m) { m.set_major(4); }),
     std::string("\x08\x04", 2)},
    {"OptionalFalseIsSent", Serialized<dc::AddInfoFilter>([](auto& m) { m.set_exclude(false); }),
     std::string("\x18\x00", 2)},
    {"UnpackedIdentifiers", Serialized<dc::ArchiveFileInfoQuery>([](auto& m) {
       m.add_pkidents(1);
       m.add_pkidents(300);
     }),
     std::string("\x18\x01\x18\xac\x02", 5)},
    {"UnpackedAverages", Serialized<dc::LastAveragesContainer>([](auto& m) {
       m.add_values(1);
       m.add_values(2);
     }),
     std::string("\x08\x01\x08\x02", 4)},
    {"UnpackedWeekdays", Serialized<dc::ShiftItem>([](auto& m) {
       m.add_weekdays(en::Monday);
       m.add_weekdays(en::Sunday);
     }),
     std::string("\x28\x01\x28\x07", 4)},
    {"PlainZeroIdentifierIsSkipped",
     Serialized<dc::WavFileQuery>([](auto& m) { m.set_identifier(0); }), ""},
    {"PreEpochTimeIsZigzag", Serialized<bcl::DateTime>([](auto& m) { m.set_value(-1); }),
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

}  // namespace
