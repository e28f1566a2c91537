// The usage blocks of the public headers, compiled as the headers show them
// (UsageBlocks.inc, written by cmake/VrexUsageBlocks.cmake): a block that no
// longer compiles fails the build. Each block is the body of a function
// whose parameters are the names the block takes as given; a header with a
// block and no function here does not compile. The blocks that need no
// server run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "VrexClient.h"
#include "vrex/Contracts.h"

using namespace Korvan::KQ::DataContracts;  // as the blocks name the contract types

// What a block hands its values to (use, plot, log, Show).
struct Sink {
  template <class... T>
  void operator()(const T&...) const {}
};

#define VREX_BLOCK(name) [[maybe_unused]] static void name##Block
#define VREX_USAGE_AnswerArena \
  VREX_BLOCK(AnswerArena)      \
  (const vrex::Client& client, const MeasurementQuery& query, Sink Show)
#define VREX_USAGE_AtomicFile VREX_BLOCK(AtomicFile)()
#define VREX_USAGE_Axes VREX_BLOCK(Axes)(const MeasurementValue& value, Sink plot)
#define VREX_USAGE_Clavis VREX_BLOCK(Clavis)(const Clavis& clavis, const Clavis& a, const Clavis& b)
#define VREX_USAGE_Client VREX_BLOCK(Client)(const MeasurementQuery& measurementQuery, Sink log)
#define VREX_USAGE_Decimal VREX_BLOCK(Decimal)()
#define VREX_USAGE_Guid VREX_BLOCK(Guid)()
#define VREX_USAGE_Iso8601 VREX_BLOCK(Iso8601)(const GeneralInformation& header)
#define VREX_USAGE_LineTimeZone \
  VREX_BLOCK(LineTimeZone)(const Line& line, const GeneralInformation& test)
#define VREX_USAGE_Measurements \
  VREX_BLOCK(Measurements)      \
  (const MeasurementValueContainer& values, const Clavis& clavis)
#define VREX_USAGE_MessageJson \
  VREX_BLOCK(MessageJson)      \
  (const vrex::Client& client, MeasurementContainer& answer)
#define VREX_USAGE_MockTransport \
  VREX_BLOCK(MockTransport)      \
  (const VersionDTO& version, const vrex::ClientOptions& options)
#define VREX_USAGE_Names \
  VREX_BLOCK(Names)      \
  (const IdNameTableStore& store, const ProtocolCrossReferenceData& row, ClavisFilter& filter)
#define VREX_USAGE_Result VREX_BLOCK(Result)(const std::string& text, Sink use)
#define VREX_USAGE_TestSelection VREX_BLOCK(TestSelection)(const vrex::Client& client)
#define VREX_USAGE_Time VREX_BLOCK(Time)(const GeneralInformation& header, Sink use)
#define VREX_USAGE_Tracks                                                          \
  VREX_BLOCK(Tracks)                                                               \
  (const std::string& url, const VectorTrackOfMeasurementsQuery& vectorTrackQuery, \
   MessageContainer& container)
#define VREX_USAGE_Units VREX_BLOCK(Units)(const MeasurementValue& value)

// Blocks show a variable that the reader goes on to use.
#pragma GCC diagnostic ignored "-Wunused-variable"
#pragma GCC diagnostic ignored "-Wunused-but-set-variable"
#include "UsageBlocks.inc"

namespace {

TEST(UsageBlocksTest, PrintWhatTheirCommentsSay) {
  std::ostringstream printed;
  std::streambuf* const console = std::cout.rdbuf(printed.rdbuf());
  GuidBlock();
  DecimalBlock();
  std::cout.rdbuf(console);
  EXPECT_EQ(printed.str(), "00112233-4455-6677-8899-aabbccddeeff-12.30");
}

}  // namespace
