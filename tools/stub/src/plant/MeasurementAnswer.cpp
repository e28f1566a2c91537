#include "plant/MeasurementAnswer.h"

#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/wire_format_lite.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <numeric>
#include <system_error>
#include <thread>

#include "MeasurementContainer.pb.h"

namespace vrex::stub::plant {

namespace {

namespace pb = google::protobuf;
using pb::internal::WireFormatLite;

// Room for one test's messages, so that each test's arena starts in memory
// already taken.
constexpr std::size_t kArenaBlock = 4 << 20;
// Threads beyond the cores only share them.
constexpr unsigned kMaxWorkers = 8;
// Tests per worker below which another thread costs more than it saves.
constexpr std::size_t kTestsPerWorker = 4;

struct TestInput {
  const TestRow* test;
  TestDefects defects;
};

/// The Measurement of a test, built on `arena`.
dc::Measurement& BuildMeasurement(const TestInput& input, const dc::ClavisFilter* filter,
                                  pb::Arena& arena) {
  auto* measurement = pb::Arena::CreateMessage<dc::Measurement>(&arena);
  *measurement->mutable_generalinformation() = input.test->header;
  *measurement->mutable_defectreport() = input.defects.report;
  dc::MeasurementValueContainer& values = *measurement->mutable_measurementvalues();
  for (const QuantityInfo& quantity : PlantQuantities()) {
    dc::Clavis key = ClavisOf(quantity);
    if (!Wanted(key, filter)) continue;
    (*values.mutable_keys())[quantity.id] = std::move(key);
    FillQuantityValue(quantity.id, input.test->seed, input.defects.exceedances,
                      (*values.mutable_values())[quantity.id]);
  }
  return *measurement;
}

/// One entry of the map MeasurementContainer.Measurements, encoded as the
/// map's field: the key `id` and the value `measurement`.
std::string EncodedEntry(std::int32_t id, const dc::Measurement& measurement) {
  constexpr auto kLength = WireFormatLite::WIRETYPE_LENGTH_DELIMITED;
  const std::uint32_t field =
      WireFormatLite::MakeTag(dc::MeasurementContainer::kMeasurementsFieldNumber, kLength);
  const std::uint32_t keyTag = WireFormatLite::MakeTag(1, WireFormatLite::WIRETYPE_VARINT);
  const std::uint32_t valueTag = WireFormatLite::MakeTag(2, kLength);
  const std::size_t valueSize = measurement.ByteSizeLong();
  const std::size_t entrySize = pb::io::CodedOutputStream::VarintSize32(keyTag) +
                                WireFormatLite::Int32Size(id) +
                                pb::io::CodedOutputStream::VarintSize32(valueTag) +
                                WireFormatLite::LengthDelimitedSize(valueSize);
  // Sized exactly: a string grown while writing would hold up to twice the room.
  std::string bytes(pb::io::CodedOutputStream::VarintSize32(field) +
                        WireFormatLite::LengthDelimitedSize(entrySize),
                    '\0');
  {
    pb::io::ArrayOutputStream output(bytes.data(), static_cast<int>(bytes.size()));
    pb::io::CodedOutputStream coded(&output);
    coded.SetSerializationDeterministic(true);
    coded.WriteTag(field);
    coded.WriteVarint32(static_cast<std::uint32_t>(entrySize));
    coded.WriteTag(keyTag);
    coded.WriteVarint32SignExtended(id);
    coded.WriteTag(valueTag);
    coded.WriteVarint32(static_cast<std::uint32_t>(valueSize));
    measurement.SerializeWithCachedSizes(&coded);
  }  // the coded stream writes its last bytes when it goes out of scope
  return bytes;
}

/// Encodes each input into its entry, the inputs shared out among workers.
std::vector<std::string> EncodedEntries(const std::vector<TestInput>& inputs,
                                        const dc::ClavisFilter* filter) {
  std::vector<std::string> entries(inputs.size());
  std::atomic<std::size_t> next{0};
  std::mutex failureMutex;
  std::exception_ptr failure;
  const auto work = [&] {
    try {
      const auto block = std::make_unique<char[]>(kArenaBlock);
      pb::ArenaOptions options;
      options.initial_block = block.get();
      options.initial_block_size = kArenaBlock;
      for (std::size_t i = next++; i < inputs.size(); i = next++) {
        pb::Arena arena(options);  // one per test, each starting in the same block
        entries[i] = EncodedEntry(inputs[i].test->header.pkident(),
                                  BuildMeasurement(inputs[i], filter, arena));
      }
    } catch (...) {
      const std::lock_guard lock(failureMutex);
      failure = std::current_exception();
      next = inputs.size();  // the others stop too
    }
  };
  const unsigned cores = std::max(1U, std::thread::hardware_concurrency());
  const auto workers = static_cast<unsigned>(
      std::clamp<std::size_t>(inputs.size() / kTestsPerWorker, 1, std::min(cores, kMaxWorkers)));
  std::vector<std::thread> helpers;
  try {
    for (unsigned i = 1; i < workers; ++i) helpers.emplace_back(work);
  } catch (const std::system_error&) {
    // No more threads to be had: this one does the rest.
  }
  work();
  for (std::thread& helper : helpers) helper.join();
  if (failure) std::rethrow_exception(failure);
  return entries;
}

}  // namespace

dc::Clavis ClavisOf(const QuantityInfo& quantity) {
  dc::Clavis clavis;
  clavis.set_mode(quantity.mode);
  clavis.set_instrument(quantity.instrument);
  clavis.set_channel(quantity.channel);
  clavis.set_location(quantity.location);
  clavis.set_instrumentparameter(quantity.parameter);
  clavis.set_sensor(quantity.sensor);
  return clavis;
}

bool Names(const dc::Clavis& wanted, const dc::Clavis& key) {
  const auto part = [](const std::string& want, const std::string& have) {
    return want.empty() || want == have;
  };
  return part(wanted.mode(), key.mode()) && part(wanted.instrument(), key.instrument()) &&
         part(wanted.channel(), key.channel()) && part(wanted.location(), key.location()) &&
         part(wanted.instrumentparameter(), key.instrumentparameter()) &&
         part(wanted.sensor(), key.sensor());
}

bool Wanted(const dc::Clavis& key, const dc::ClavisFilter* filter) {
  if (filter == nullptr) return true;
  bool named = false;
  for (const dc::Clavis& wanted : filter->items()) named = named || Names(wanted, key);
  return named != filter->exclude();
}

std::string SerializedMeasurements(SqliteDatabase& db, const std::vector<TestRow>& tests,
                                   const dc::ClavisFilter* filter) {
  // The map's entries go in key order; the database is read on this thread.
  std::vector<TestInput> inputs;
  inputs.reserve(tests.size());
  for (const TestRow& test : tests) inputs.push_back({&test, {}});
  std::sort(inputs.begin(), inputs.end(), [](const TestInput& a, const TestInput& b) {
    return a.test->header.pkident() < b.test->header.pkident();
  });
  for (TestInput& input : inputs) input.defects = DefectsOf(db, input.test->header.pkident());
  std::vector<std::string> entries = EncodedEntries(inputs, filter);
  std::string bytes;
  bytes.reserve(
      std::accumulate(entries.begin(), entries.end(), std::size_t{0},
                      [](std::size_t sum, const std::string& e) { return sum + e.size(); }));
  for (std::string& entry : entries) {
    bytes += entry;
    std::string().swap(entry);  // freed as it is copied
  }
  return bytes;
}

}  // namespace vrex::stub::plant
