#include "plant/AveragedArchives.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>
#include <iterator>
#include <map>

#include "plant/MeasurementAnswer.h"
#include "plant/PlantQueries.h"
#include "plant/TestSelection.h"

namespace vrex::stub::plant {

namespace {

namespace pb = google::protobuf;

constexpr AveragedArchive kArchives[] = {{"Shift", 0, 6, 8}, {"Day", 1, 0, 24}};
constexpr const char* kShiftNames[] = {"Early", "Late", "Night"};

// An average's identifier: 1 000 000 000 + line × 1 000 000 + archive × 100 000 + period.
constexpr std::int64_t kFirstAverageId = 1'000'000'000;
constexpr std::int64_t kLineStep = 1'000'000;
constexpr std::int64_t kArchiveStep = 100'000;

const AveragedArchive& ArchiveNamed(const std::string& name) {
  for (const AveragedArchive& archive : kArchives) {
    if (name == archive.name) return archive;
  }
  throw PlantRefusal(404, "no averaged archive \"" + name + "\"");
}

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

Average AverageOf(const PlantLine& line, const AveragedArchive& archive, std::int64_t period) {
  const std::int64_t first = std::int64_t{archive.firstHour} * 3600;
  const std::int64_t length = std::int64_t{archive.hours} * 3600;
  return {static_cast<std::int32_t>(kFirstAverageId + line.id * kLineStep +
                                    archive.number * kArchiveStep + period),
          &archive, period, UtcAtWallClock(line, first + period * length),
          UtcAtWallClock(line, first + (period + 1) * length)};
}

/// The period of `archive` that holds `time`.
std::int64_t PeriodAt(const PlantLine& line, const AveragedArchive& archive, std::int64_t time) {
  return FloorDivide(WallClockAt(line, time) - std::int64_t{archive.firstHour} * 3600,
                     std::int64_t{archive.hours} * 3600);
}

/// The passing tests of the average's period, oldest first.
std::vector<std::int32_t> PassingTests(SqliteDatabase& db, const PlantLine& line,
                                       const Average& average, int most) {
  auto rows = db.Prepare(
      "SELECT id FROM test WHERE line_id = ?1 AND time >= ?2 AND time < ?3 AND result_id = 1"
      " ORDER BY time, id LIMIT ?4");
  rows.BindAll(line.id, average.start, average.end, std::int64_t{most});
  std::vector<std::int32_t> ids;
  while (rows.Step()) ids.push_back(static_cast<std::int32_t>(rows.Int(0)));
  return ids;
}

bool Exists(SqliteDatabase& db, const PlantLine& line, const Average& average) {
  return !PassingTests(db, line, average, 1).empty();
}

/// Applies `combine` to each float of `into` and the same float of `from`,
/// through every nested message and list element. Floats are the only
/// numbers of measured values, and their lists are lists of messages.
void CombineFloats(pb::Message& into, const pb::Message& from,
                   const std::function<float(float, float)>& combine) {
  const pb::Reflection& to = *into.GetReflection();
  const pb::Reflection& of = *from.GetReflection();
  const pb::Descriptor& type = *into.GetDescriptor();
  for (int i = 0; i < type.field_count(); ++i) {
    const pb::FieldDescriptor* field = type.field(i);
    if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_FLOAT && !field->is_repeated()) {
      to.SetFloat(&into, field, combine(to.GetFloat(into, field), of.GetFloat(from, field)));
    } else if (field->cpp_type() != pb::FieldDescriptor::CPPTYPE_MESSAGE) {
      continue;
    } else if (field->is_repeated()) {
      const int size = std::min(to.FieldSize(into, field), of.FieldSize(from, field));
      for (int k = 0; k < size; ++k) {
        CombineFloats(*to.MutableRepeatedMessage(&into, field, k),
                      of.GetRepeatedMessage(from, field, k), combine);
      }
    } else if (to.HasField(into, field) && of.HasField(from, field)) {
      CombineFloats(*to.MutableMessage(&into, field), of.GetMessage(from, field), combine);
    }
  }
}

/// The mean of the tests' values, quantity by quantity, summed in the order
/// of their identifiers so that the same tests always give the same bits.
dc::MeasurementValueContainer MeanValues(const dc::MeasurementContainer& tests) {
  std::map<std::int32_t, const dc::MeasurementValueContainer*> ordered;
  for (const auto& [id, test] : tests.measurements()) ordered[id] = &test.measurementvalues();
  dc::MeasurementValueContainer mean;
  if (ordered.empty()) return mean;
  mean = *ordered.begin()->second;
  for (auto test = std::next(ordered.begin()); test != ordered.end(); ++test) {
    for (auto& [handle, value] : *mean.mutable_values()) {
      const auto same = test->second->values().find(handle);
      if (same != test->second->values().end()) {
        CombineFloats(value, same->second, std::plus<float>());
      }
    }
  }
  const float share = 1.0F / static_cast<float>(ordered.size());
  for (auto& [handle, value] : *mean.mutable_values()) {
    CombineFloats(value, value, [share](float sum, float) { return sum * share; });
  }
  return mean;
}

/// "2026-11-18" for a day, "2026-11-18 Late" for a shift: the local date it starts on.
std::string PeriodName(const Average& average) {
  const std::time_t start = std::int64_t{average.archive->firstHour} * 3600 +
                            average.period * std::int64_t{average.archive->hours} * 3600;
  std::tm local{};
  gmtime_r(&start, &local);
  char date[16];
  std::strftime(date, sizeof date, "%Y-%m-%d", &local);
  if (average.archive->hours == 24) return date;
  return std::string(date) + " " + kShiftNames[average.period % 3];
}

}  // namespace

std::vector<Average> LastAverages(SqliteDatabase& db, const PlantLine& line, std::int64_t time,
                                  const dc::AverageArchive& wanted) {
  const AveragedArchive& archive = ArchiveNamed(wanted.name());
  std::vector<Average> found;
  if (wanted.daystoinclude() <= 0) return found;
  auto oldest = db.Prepare("SELECT MIN(time) FROM test WHERE line_id = ?1");
  oldest.BindAll(line.id);
  if (!oldest.Step() || oldest.IsNull(0)) return found;
  const std::int64_t after = time - std::int64_t{wanted.daystoinclude()} * 86400;
  for (std::int64_t period = PeriodAt(line, archive, time) - 1;
       static_cast<std::int64_t>(found.size()) < wanted.nraveragestoload(); --period) {
    const Average average = AverageOf(line, archive, period);
    if (average.end <= after || average.end <= oldest.Int(0)) break;
    if (Exists(db, line, average)) found.push_back(average);
  }
  std::reverse(found.begin(), found.end());
  return found;
}

std::optional<Average> AverageById(SqliteDatabase& db, const PlantLine& line, std::int32_t id) {
  const std::int64_t rest = id - kFirstAverageId - line.id * kLineStep;
  if (rest < 0) return std::nullopt;  // another line's: its archive digit is no archive's
  const auto archive =
      std::find_if(std::begin(kArchives), std::end(kArchives),
                   [&](const AveragedArchive& a) { return a.number == rest / kArchiveStep; });
  if (archive == std::end(kArchives)) return std::nullopt;
  const Average average = AverageOf(line, *archive, rest % kArchiveStep);
  const std::int64_t now = std::chrono::duration_cast<std::chrono::seconds>(
                               std::chrono::system_clock::now().time_since_epoch())
                               .count();
  if (average.end > now || !Exists(db, line, average)) return std::nullopt;
  return average;
}

dc::MeasurementContainer AverageMeasurement(SqliteDatabase& db, const PlantLine& line,
                                            const Average& average) {
  pb::RepeatedField<std::int32_t> ids;
  for (std::int32_t id : PassingTests(db, line, average, INT32_MAX)) ids.Add(id);
  dc::MeasurementContainer tests;
  tests.ParseFromString(SerializedMeasurements(db, TestsById(db, line, ids), nullptr));

  dc::MeasurementContainer container;
  dc::Measurement& measurement = (*container.mutable_measurements())[average.id];
  dc::GeneralInformation& header = *measurement.mutable_generalinformation();
  header.set_pkident(average.id);
  *header.mutable_measurementtime() = UtcTime(average.start);
  auto& info = *header.mutable_additionalinfo();
  info["AverageArchive"] = average.archive->name;
  info["Period"] = PeriodName(average);
  info["Tests"] = std::to_string(tests.measurements_size());
  *measurement.mutable_measurementvalues() = MeanValues(tests);
  return container;
}

}  // namespace vrex::stub::plant
