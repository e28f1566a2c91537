#include "vrex/data/TestSelection.h"

#include <tuple>

#include "vrex/data/Time.h"

namespace vrex::data {

namespace dc = ::Korvan::KQ::DataContracts;

namespace {

dc::TopNFilter Count(std::int32_t count, bool first) {
  dc::TopNFilter filter;
  filter.set_topn(count);
  filter.set_topnfirst(first);
  return filter;
}

}  // namespace

dc::TopNFilter NewestTests(std::int32_t count) { return Count(count, false); }

dc::TopNFilter OldestTests(std::int32_t count) { return Count(count, true); }

const dc::GeneralInformation* NewestTest(const dc::GeneralInformationContainer& tests) {
  const dc::GeneralInformation* newest = nullptr;
  TickTime newestTime;
  for (const dc::GeneralInformation& test : tests.values()) {
    const Result<Instant> time = ToInstant(test.measurementtime());
    if (!time.Ok()) continue;
    if (newest == nullptr || std::make_tuple(time.Value().time, test.pkident()) >
                                 std::make_tuple(newestTime, newest->pkident())) {
      newest = &test;
      newestTime = time.Value().time;
    }
  }
  return newest;
}

}  // namespace vrex::data
