#include "vrex/stub/Plant.h"

#include <stdexcept>
#include <string>

#include "RequestMatch.h"
#include "plant/PlantGenerator.h"
#include "plant/PlantLine.h"
#include "plant/PlantQueries.h"
#include "plant/PlantSchema.h"
#include "plant/Sqlite.h"
#include "vrex/RequestCatalog.h"

namespace vrex::stub {

Plant::Plant(std::filesystem::path file) : file_(std::move(file)) {
  try {
    plant::SqliteDatabase db(file_, plant::SqliteDatabase::Mode::ReadOnly);
    auto version = db.Prepare("SELECT value FROM plant_info WHERE key = 'schema_version'");
    if (!version.Step() || version.Text(0) != std::to_string(plant::kPlantSchemaVersion)) {
      throw std::runtime_error(file_.string() + ": a plant database of another version");
    }
  } catch (const plant::SqliteError& error) {
    throw std::runtime_error(file_.string() + ": no plant database (" + error.what() + ")");
  }
}

std::optional<CannedAnswer> Plant::Answer(std::string_view requestType, const JournalEntry& request) const {
  const plant::PlantHandler* handler = plant::FindPlantHandler(requestType);
  if (handler == nullptr) return std::nullopt;
  if (token_) {
    const std::string* token = request.FindHeader("GatewayApiAuthentication");
    if (token == nullptr || *token != *token_) {
      return TextAnswer(401, "the request has no valid GatewayApiAuthentication token");
    }
  }
  const auto message = DecodeRequest(requestType, request.body);
  if (message == nullptr) {
    return TextAnswer(400, "the body is no " + std::string(requestType));
  }
  const RequestInfo* info = FindRequest(requestType);
  const bool changes = info != nullptr && info->kind == RequestKind::Command;
  try {
    plant::SqliteDatabase db(file_, changes ? plant::SqliteDatabase::Mode::ReadWrite
                                            : plant::SqliteDatabase::Mode::ReadOnly);
    return (*handler)(db, *message);
  } catch (const plant::PlantRefusal& refusal) {
    return TextAnswer(refusal.Status(), refusal.what());
  } catch (const std::exception& error) {
    return TextAnswer(500, std::string("the plant failed: ") + error.what());
  }
}

void GeneratePlantFile(const std::filesystem::path& file, std::int64_t tests, int days,
                       std::uint64_t seed, std::int64_t now) {
  plant::GeneratePlant(file, {tests, days, seed, now});
}

}  // namespace vrex::stub
