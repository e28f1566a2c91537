// The outcome of VrexClient::Post at the borders of the status classes and
// for bodies the fault matrix (tests/reliability) does not send, and what it
// does to the caller's response message.
#include <gtest/gtest.h>

#include <string>

#include "StubFixture.h"
#include "VrexClient.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

struct OutcomeCase {
  const char* name;
  int status;
  std::string body;
  en::CodeCategory category;
  en::DetailCode detail;
  en::LogLevel level;
  enum { Untouched, Parsed, Cleared, ParserLeftovers } response;
};

dc::VersionDTO ServerVersion() {
  dc::VersionDTO version;
  version.set_major(4);
  version.set_minor(2);
  version.set_developmentname("nightly");
  return version;
}

// Larger than one libcurl write (16 KiB), so only a callback that appends
// every chunk gives the whole message.
dc::VersionDTO LargeServerVersion() {
  dc::VersionDTO version = ServerVersion();
  version.set_developmentname(std::string(100 * 1024, 'n') + "end");
  return version;
}

dc::VersionDTO CallersVersion() {
  dc::VersionDTO version;
  version.set_major(99);
  version.set_developmentname("held by the caller");
  return version;
}

const std::string kGarbage("\xff\xff\xff\xff", 4);

const OutcomeCase kOutcomeCases[] = {
    {"Ok", 200, ServerVersion().SerializeAsString(), en::CodeCategory_None, en::NoDetailCode,
     en::Trace, OutcomeCase::Parsed},
    {"OkLargerThanOneWrite", 200, LargeServerVersion().SerializeAsString(), en::CodeCategory_None,
     en::NoDetailCode, en::Trace, OutcomeCase::Parsed},
    {"OkEmptyBody", 200, "", en::CodeCategory_None, en::NoDetailCode, en::Trace,
     OutcomeCase::Cleared},
    {"OkGarbage", 200, kGarbage, en::CodeCategory_Backend, en::NoDetailCode, en::Error,
     OutcomeCase::ParserLeftovers},
    {"Status400", 400, "", en::CodeCategory_ApiPipeline, en::ApiPipeline_Unauthorized, en::Error,
     OutcomeCase::Untouched},
    {"Status404WithBody", 404, ServerVersion().SerializeAsString(), en::CodeCategory_ApiPipeline,
     en::ApiPipeline_Unauthorized, en::Error, OutcomeCase::Untouched},
    {"Status499", 499, "", en::CodeCategory_ApiPipeline, en::ApiPipeline_Unauthorized, en::Error,
     OutcomeCase::Untouched},
    {"Status201", 201, ServerVersion().SerializeAsString(), en::CodeCategory_ApiPipeline,
     en::ApiPipeline_Failed, en::Error, OutcomeCase::Untouched},
    {"Status204", 204, "", en::CodeCategory_ApiPipeline, en::ApiPipeline_Failed, en::Error,
     OutcomeCase::Untouched},
    {"Status399", 399, "", en::CodeCategory_ApiPipeline, en::ApiPipeline_Failed, en::Error,
     OutcomeCase::Untouched},
    {"Status500", 500, "", en::CodeCategory_ApiPipeline, en::ApiPipeline_Failed, en::Error,
     OutcomeCase::Untouched},
};

void PrintTo(const OutcomeCase& c, std::ostream* out) { *out << c.name; }

class PostOutcome : public StubFixture, public ::testing::WithParamInterface<OutcomeCase> {};

TEST_P(PostOutcome, MatchesTheOutcomeTable) {
  const OutcomeCase& c = GetParam();
  vrex::stub::CannedAnswer answer;
  answer.status = c.status;
  answer.body = c.body;
  server.SetAnswer("ApiVersionQuery", answer);

  dc::ApiVersionQuery request;
  request.set_factory("Plant-North");
  dc::VersionDTO response = CallersVersion();
  const dc::MessageContainer status =
      VrexClient::Post(Url("ApiVersionQuery"), request, response, "");

  EXPECT_EQ(status.codecategory(), c.category);
  EXPECT_EQ(status.detailcode(), c.detail);
  EXPECT_EQ(status.level(), c.level);
  switch (c.response) {
    case OutcomeCase::Untouched:
      EXPECT_EQ(response.SerializeAsString(), CallersVersion().SerializeAsString());
      break;
    case OutcomeCase::Parsed:
      EXPECT_EQ(response.SerializeAsString(), c.body);
      break;
    case OutcomeCase::Cleared:
      EXPECT_EQ(response.ByteSizeLong(), 0u);
      break;
    case OutcomeCase::ParserLeftovers:
      break;  // Whatever the parser left: callers must not look.
  }
}

INSTANTIATE_TEST_SUITE_P(EstablishedClient, PostOutcome, ::testing::ValuesIn(kOutcomeCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
