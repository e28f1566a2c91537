#include "plant/PlantReports.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <set>

#include "ArchiveFileInfoContainer.pb.h"
#include "ArchiveFileInfoQuery.pb.h"
#include "RejectsByShiftContainer.pb.h"
#include "RejectsByShiftQuery.pb.h"
#include "TopNRejectsContainer.pb.h"
#include "TopNRejectsQuery.pb.h"
#include "WavFileInfo.pb.h"
#include "WavFileInfoQuery.pb.h"
#include "WavFileQuery.pb.h"
#include "WavFileTestBenchQuery.pb.h"
#include "plant/DefectFilter.h"
#include "plant/PlantLine.h"
#include "plant/TestSelection.h"
#include "plant/TestSound.h"
#include "plant/TestValues.h"

namespace vrex::stub::plant {

namespace {

namespace pb = google::protobuf;
namespace en = Korvan::KQ::DataContracts::Enumerator;

constexpr int kIdleSpectrumId = 3;

TestRow RequireTest(SqliteDatabase& db, const PlantLine& line, std::int32_t id) {
  pb::RepeatedField<std::int32_t> ids;
  ids.Add(id);
  auto tests = TestsById(db, line, ids);
  if (tests.empty())
    throw PlantRefusal(404, "no test " + std::to_string(id) + " on line \"" + line.name + "\"");
  return std::move(tests.front());
}

CannedAnswer Sound(SqliteDatabase& db, const PlantLine& line, std::int32_t id) {
  const TestRow test = RequireTest(db, line, id);
  const dc::MeasurementValue spectrum =
      QuantityValue(kIdleSpectrumId, test.seed, DefectsOf(db, id).exceedances);
  CannedAnswer answer;
  answer.body = SynthesiseSound(spectrum.vector(), test.seed);
  answer.contentType = "audio/wav";
  return answer;
}

std::string SoundPath(const TestRow& test) {
  return std::to_string(test.header.pkident()) + ".wav";
}

dc::WavFileInfo SoundInfo(SqliteDatabase& db, const dc::WavFileInfoQuery& query) {
  const PlantLine line = LineOf(db, query);
  const TestRow test = RequireTest(db, line, query.identifier());
  dc::WavFileInfo info;
  info.set_factory(line.factory);
  info.set_line(line.name);
  info.set_testbench(test.header.bench());
  info.set_wavfilepath(SoundPath(test));
  return info;
}

CannedAnswer SoundByName(SqliteDatabase& db, const dc::WavFileTestBenchQuery& query) {
  const PlantLine line = LineOf(db, query);
  const std::string& name = query.filename();
  const std::size_t dot = name.rfind(".wav");
  const bool digits = dot != std::string::npos && dot > 0 && dot < 10 &&
                      std::all_of(name.begin(), name.begin() + static_cast<long>(dot),
                                  [](unsigned char c) { return std::isdigit(c) != 0; });
  if (!digits) throw PlantRefusal(404, "no sound file \"" + name + "\"");
  const auto id = static_cast<std::int32_t>(std::stol(name.substr(0, dot)));
  if (RequireTest(db, line, id).header.bench() != query.testbench()) {
    throw PlantRefusal(404,
                       "no sound file \"" + name + "\" on bench \"" + query.testbench() + "\"");
  }
  return Sound(db, line, id);
}

dc::ArchiveFileInfoContainer ArchiveInfos(SqliteDatabase& db,
                                          const dc::ArchiveFileInfoQuery& query) {
  dc::ArchiveFileInfoContainer container;
  for (const TestRow& test : TestsById(db, LineOf(db, query), query.pkidents())) {
    dc::ArchiveFileInfo& info = *container.add_values();
    info.set_pkident(test.header.pkident());
    info.set_offset(test.header.fileoffset());
    info.set_relativefilepath(test.header.relativefilepath());
    info.set_serial(test.header.serial());
    info.set_testbench(test.header.bench());
    info.set_basetype(test.header.basetype());
  }
  return container;
}

dc::RejectsByShiftContainer RejectsByShift(SqliteDatabase& db,
                                           const dc::RejectsByShiftQuery& query) {
  const PlantLine line = LineOf(db, query);
  const auto tests = SelectTests(db, line, ReadSelection(query));
  auto typeId = db.Prepare("SELECT id FROM unit_type WHERE name = ?1");
  dc::RejectsByShiftContainer container;
  for (const Reject& reject : RejectsOf(db, tests)) {
    const std::string shift = ShiftAt(line, reject.test->header.measurementtime().value());
    dc::RejectsByShiftData& data = *container.add_values();
    data.set_shiftname(shift);
    for (const PlantShift& known : line.shifts) {
      if (known.name == shift) data.set_shiftid(static_cast<std::int32_t>(known.id));
    }
    data.set_typename_(reject.test->header.type());
    typeId.BindAll(reject.test->header.type());
    if (typeId.Step()) data.set_typeid_(static_cast<std::int32_t>(typeId.Int(0)));
    typeId.Reset();
    if (reject.defects.defects_size() > 0) {
      data.set_errortext(reject.defects.defects(0).errortext());
      data.set_errorcode(reject.defects.defects(0).errorcode());
    }
  }
  return container;
}

/// What a defect of a reject counts under, by `groupBy`.
std::pair<std::string, std::string> CategoryOf(const Reject& reject, const dc::Defect& defect,
                                               en::TopNGroupBy groupBy) {
  const dc::GeneralInformation& header = reject.test->header;
  switch (groupBy) {
    case en::Type:
      return {header.type(), header.basetype()};
    case en::BaseType:
      return {header.basetype(), ""};
    case en::TestBench:
      return {header.bench(), ""};
    case en::Instrument:
      return {defect.clavis().instrument(), ""};
    case en::Parameter:
      return {defect.clavis().instrumentparameter(), ""};
    case en::Mode:
      return {defect.clavis().mode(), ""};
    case en::Location:
      return {defect.clavis().location(), ""};
    case en::Channel:
      return {defect.clavis().channel(), ""};
    default:
      return {std::to_string(defect.errorcode()), defect.errortext()};
  }
}

dc::TopNRejectsContainer TopNRejects(SqliteDatabase& db, const dc::TopNRejectsQuery& query) {
  const PlantLine line = LineOf(db, query);
  const auto tests = SelectTests(db, line, ReadSelection(query));
  const DefectFilter filter(db, line, query, query.includewarnings());
  std::map<std::pair<std::string, std::string>, dc::TopNRejectsData> counts;
  for (const Reject& reject : RejectsOf(db, tests, query.includewarnings())) {
    // A test counts once in each category its defects fall in.
    std::set<std::pair<std::string, std::string>> seen;
    for (const dc::Defect* defect : filter.Select(reject.defects.defects())) {
      const auto category = CategoryOf(reject, *defect, query.groupby());
      if (!seen.insert(category).second) continue;
      dc::TopNRejectsData& data = counts[category];
      if (data.count() == 0) {
        data.set_category(category.first);
        data.set_categoryinfo(category.second);
        data.set_groupby(query.groupby());
        *data.mutable_from() = reject.test->header.measurementtime();
      }
      data.set_count(data.count() + 1);
      *data.mutable_until() = reject.test->header.measurementtime();
    }
  }
  std::vector<dc::TopNRejectsData> ranked;
  for (auto& [category, data] : counts) ranked.push_back(std::move(data));
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const auto& a, const auto& b) { return a.count() > b.count(); });
  if (query.topncount() > 0 && ranked.size() > static_cast<std::size_t>(query.topncount())) {
    ranked.resize(static_cast<std::size_t>(query.topncount()));
  }
  dc::TopNRejectsContainer container;
  for (auto& data : ranked) *container.add_values() = std::move(data);
  return container;
}

}  // namespace

void AddReportHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers) {
  handlers.emplace("WavFileQuery", [](SqliteDatabase& db, const pb::Message& request) {
    const auto& query = dynamic_cast<const dc::WavFileQuery&>(request);
    return Sound(db, LineOf(db, query), query.identifier());
  });
  handlers.emplace("WavFileTestBenchQuery", [](SqliteDatabase& db, const pb::Message& request) {
    return SoundByName(db, dynamic_cast<const dc::WavFileTestBenchQuery&>(request));
  });
  handlers.emplace("WavFileInfoQuery", Answering<dc::WavFileInfoQuery>(SoundInfo));
  handlers.emplace("ArchiveFileInfoQuery", Answering<dc::ArchiveFileInfoQuery>(ArchiveInfos));
  handlers.emplace("RejectsByShiftQuery", Answering<dc::RejectsByShiftQuery>(RejectsByShift));
  handlers.emplace("TopNRejectsQuery", Answering<dc::TopNRejectsQuery>(TopNRejects));
}

}  // namespace vrex::stub::plant
