#include "plant/PlantArchives.h"

#include <algorithm>
#include <optional>
#include <set>

#include "ArchiveFileByIdQuery.pb.h"
#include "ArchiveFileQuery.pb.h"
#include "IdsOfLastAveragesQuery.pb.h"
#include "LastAveragesContainer.pb.h"
#include "MeasurementFromFileByIdQuery.pb.h"
#include "MeasurementInformationContainer.pb.h"
#include "MeasurementInformationFromFileQuery.pb.h"
#include "plant/AveragedArchives.h"
#include "plant/MeasurementAnswer.h"
#include "plant/PlantLine.h"
#include "plant/TestSelection.h"

namespace vrex::stub::plant {

namespace {

namespace pb = google::protobuf;

/// The archive record of test `id`: the plant's measurement of it alone,
/// every quantity, so the same test gives the same bytes in every answer.
std::string ArchiveRecordOfTest(SqliteDatabase& db, const TestRow& test) {
  return SerializedMeasurements(db, {test}, nullptr);
}

std::string AverageRecord(SqliteDatabase& db, const PlantLine& line, const Average& average) {
  return SerializeDeterministically(AverageMeasurement(db, line, average));
}

CannedAnswer ArchiveData(std::string records) {
  CannedAnswer answer;
  answer.body = std::move(records);
  answer.contentType = std::string(kRawContentType);
  return answer;
}

std::optional<std::int64_t> TimeOfTest(SqliteDatabase& db, const PlantLine& line, std::int32_t id) {
  auto row = db.Prepare("SELECT time FROM test WHERE id = ?1 AND line_id = ?2");
  row.BindAll(std::int64_t{id}, line.id);
  if (!row.Step()) return std::nullopt;
  return row.Int(0);
}

CannedAnswer SelectedArchive(SqliteDatabase& db, const dc::ArchiveFileQuery& query) {
  const PlantLine line = LineOf(db, query);
  std::string records;
  for (const TestRow& test : SelectTests(db, line, ReadSelection(query))) {
    records += ArchiveRecordOfTest(db, test);
  }
  return ArchiveData(std::move(records));
}

/// The tests and averages `Ids` names, in its order, then the last averages
/// of each of `AverageArchives` before the newest of those tests; each once.
CannedAnswer ArchiveById(SqliteDatabase& db, const dc::ArchiveFileByIdQuery& query) {
  const PlantLine line = LineOf(db, query);
  std::string records;
  std::set<std::int32_t> written;
  std::optional<std::int64_t> newest;
  for (std::int32_t id : query.ids()) {
    if (written.count(id) != 0) continue;
    if (const auto time = TimeOfTest(db, line, id)) {
      newest = std::max(newest.value_or(*time), *time);
      pb::RepeatedField<std::int32_t> one;
      one.Add(id);
      for (const TestRow& test : TestsById(db, line, one)) records += ArchiveRecordOfTest(db, test);
      written.insert(id);
    } else if (const auto average = AverageById(db, line, id)) {
      records += AverageRecord(db, line, *average);
      written.insert(id);
    }
  }
  for (const dc::AverageArchive& wanted : query.averagearchives()) {
    if (!newest) break;
    for (const Average& average : LastAverages(db, line, *newest, wanted)) {
      if (written.insert(average.id).second) records += AverageRecord(db, line, average);
    }
  }
  return ArchiveData(std::move(records));
}

dc::LastAveragesContainer LastAverageIds(SqliteDatabase& db,
                                         const dc::IdsOfLastAveragesQuery& query) {
  const PlantLine line = LineOf(db, query);
  const auto time = TimeOfTest(db, line, query.pkident());
  if (!time) {
    throw PlantRefusal(
        404, "no test " + std::to_string(query.pkident()) + " on line \"" + line.name + "\"");
  }
  dc::LastAveragesContainer container;
  for (const dc::AverageArchive& wanted : query.averagearchives()) {
    for (const Average& average : LastAverages(db, line, *time, wanted)) {
      container.add_values(average.id);
    }
  }
  return container;
}

/// The measurements of the named tests that the archive file holds; 404 for
/// a path that names no archive file.
CannedAnswer MeasurementsFromFile(SqliteDatabase& db,
                                  const dc::MeasurementFromFileByIdQuery& query) {
  dc::MeasurementInformationFromFileQuery file;
  file.set_factory(query.factory());
  file.set_line(query.line());
  file.set_absolutepath(query.absolutepath());
  dc::MeasurementInformationContainer inFile;
  inFile.ParseFromString((*FindPlantHandler("MeasurementInformationFromFileQuery"))(db, file).body);
  pb::RepeatedField<std::int32_t> ids;
  for (std::int32_t id : query.identifier()) {
    if (inFile.measurements().count(id) != 0) ids.Add(id);
  }
  CannedAnswer answer;
  answer.body = SerializedMeasurements(db, TestsById(db, LineOf(db, query), ids),
                                       query.has_clavis() ? &query.clavis() : nullptr);
  return answer;
}

template <typename Request>
PlantHandler Serving(CannedAnswer (*serve)(SqliteDatabase&, const Request&)) {
  return [serve](SqliteDatabase& db, const pb::Message& request) {
    return serve(db, dynamic_cast<const Request&>(request));
  };
}

}  // namespace

void AddArchiveHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers) {
  handlers.emplace("ArchiveFileQuery", Serving<dc::ArchiveFileQuery>(SelectedArchive));
  handlers.emplace("ArchiveFileByIdQuery", Serving<dc::ArchiveFileByIdQuery>(ArchiveById));
  handlers.emplace("MeasurementFromFileByIdQuery",
                   Serving<dc::MeasurementFromFileByIdQuery>(MeasurementsFromFile));
  handlers.emplace("IdsOfLastAveragesQuery", Answering<dc::IdsOfLastAveragesQuery>(LastAverageIds));
}

}  // namespace vrex::stub::plant
