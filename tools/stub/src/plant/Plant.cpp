#include "vrex/stub/Plant.h"

#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "RequestMatch.h"
#include "plant/PlantGenerator.h"
#include "plant/PlantLine.h"
#include "plant/PlantQueries.h"
#include "plant/PlantSchema.h"
#include "plant/Sqlite.h"
#include "vrex/RequestCatalog.h"

namespace vrex::stub {

namespace {

constexpr std::string_view kVersionRequest = "ApiVersionQuery";

}  // namespace

class Plant::Connections {
 public:
  explicit Connections(std::filesystem::path file) : file_(std::move(file)) {}

  /// An idle read connection, or a new one.
  std::unique_ptr<plant::SqliteDatabase> Take() {
    {
      const std::lock_guard lock(mutex_);
      if (!idle_.empty()) {
        auto connection = std::move(idle_.back());
        idle_.pop_back();
        return connection;
      }
    }
    return std::make_unique<plant::SqliteDatabase>(file_, plant::SqliteDatabase::Mode::ReadOnly);
  }
  void Give(std::unique_ptr<plant::SqliteDatabase> connection) {
    const std::lock_guard lock(mutex_);
    if (idle_.size() < kKept) idle_.push_back(std::move(connection));
  }

 private:
  static constexpr std::size_t kKept = 16;
  std::filesystem::path file_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<plant::SqliteDatabase>> idle_;
};

Plant::Plant(std::filesystem::path file)
    : file_(std::move(file)), connections_(std::make_shared<Connections>(file_)) {
  try {
    plant::SqliteDatabase db(file_, plant::SqliteDatabase::Mode::ReadOnly);
    auto version = db.Prepare("SELECT value FROM plant_info WHERE key = 'schema_version'");
    if (!version.Step() || version.Text(0) != std::to_string(plant::kPlantSchemaVersion)) {
      throw std::runtime_error(file_.string() + ": a plant database of another version");
    }
    // A plant that holds a gateway token requires it.
    auto gateway = db.Prepare("SELECT value FROM token WHERE name = 'gateway'");
    if (gateway.Step()) token_ = gateway.Text(0);
    version_ = (*plant::FindPlantHandler(kVersionRequest))(db, *DecodeRequest(kVersionRequest, {}));
  } catch (const plant::SqliteError& error) {
    throw std::runtime_error(file_.string() + ": no plant database (" + error.what() + ")");
  }
}

std::optional<CannedAnswer> Plant::Answer(std::string_view requestType,
                                          const JournalEntry& request) const {
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
  if (requestType == kVersionRequest) return version_;
  const RequestInfo* info = FindRequest(requestType);
  // A request that may not be sent twice changes the plant: every command and the propagation.
  const bool changes = info != nullptr && !info->repeatable;
  try {
    if (changes) {
      plant::SqliteDatabase db(file_, plant::SqliteDatabase::Mode::ReadWrite);
      return (*handler)(db, *message);
    }
    auto db = connections_->Take();
    CannedAnswer answer = (*handler)(*db, *message);
    connections_->Give(std::move(db));  // only a connection that did not fail
    return answer;
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
