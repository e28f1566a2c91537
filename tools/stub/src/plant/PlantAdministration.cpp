#include "plant/PlantAdministration.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

#include "ConfigureTopologyModelCommand.pb.h"
#include "DefaultTopologyModelQuery.pb.h"
#include "PropagateTopologyModelCommand.pb.h"
#include "PropagateTopologyModelContainer.pb.h"
#include "ResultDbCreationCommand.pb.h"
#include "ResultDbUpdateCommand.pb.h"
#include "ResultDbVersionQuery.pb.h"
#include "TopologyModel.pb.h"
#include "TopologyModelQuery.pb.h"
#include "UpdateTopologyModelCommand.pb.h"
#include "VersionDTO.pb.h"
#include "plant/PlantCommands.h"
#include "plant/PlantLine.h"

namespace vrex::stub::plant {

namespace {

namespace dc = Korvan::KQ::DataContracts;

std::string VersionText(const dc::VersionDTO& version) {
  return std::to_string(version.major()) + "." + std::to_string(version.minor()) + "." +
         std::to_string(version.patch());
}

/// The version of the line's result database; 404 when the line has none.
dc::VersionDTO DatabaseVersion(SqliteDatabase& db, const PlantLine& line) {
  auto row = db.Prepare("SELECT version FROM result_database WHERE line_id = ?1");
  row.BindAll(line.id);
  if (!row.Step()) throw PlantRefusal(404, "line \"" + line.name + "\" has no result database");
  int major = 0, minor = 0, patch = 0;
  std::sscanf(row.Text(0).c_str(), "%d.%d.%d", &major, &minor, &patch);
  dc::VersionDTO version;
  version.set_major(major);
  version.set_minor(minor);
  version.set_patch(patch);
  return version;
}

std::string CreateDatabase(SqliteDatabase& db, const dc::ResultDbCreationCommand& command) {
  const PlantLine line = LineOf(db, command);
  if (command.databasename().empty()) throw PlantRefusal(400, "the database needs a name");
  auto exists = db.Prepare("SELECT name FROM result_database WHERE line_id = ?1");
  exists.BindAll(line.id);
  if (exists.Step()) {
    throw PlantRefusal(409, "line \"" + line.name + "\" has its result database \"" +
                                exists.Text(0) + "\" already");
  }
  auto insert = db.Prepare(
      "INSERT INTO result_database VALUES (?1, ?2, ?3, (SELECT value FROM plant_info WHERE key = "
      "'api_version'))");
  insert.BindAll(line.id, command.databasename());
  if (command.has_databasepath()) {
    insert.Bind(3, command.databasepath());
  } else {
    insert.BindNull(3);
  }
  insert.Run();
  return "result database " + command.databasename() + " created for " + line.name;
}

std::string UpdateDatabase(SqliteDatabase& db, const dc::ResultDbUpdateCommand& command) {
  const PlantLine line = LineOf(db, command);
  const dc::VersionDTO now = DatabaseVersion(db, line);
  const dc::VersionDTO& wanted = command.dbversion();
  if (std::make_tuple(wanted.major(), wanted.minor(), wanted.patch()) <
      std::make_tuple(now.major(), now.minor(), now.patch())) {
    throw PlantRefusal(400, "the result database of \"" + line.name + "\" is at " +
                                VersionText(now) + "; it is not taken back to " +
                                VersionText(wanted));
  }
  db.Prepare("UPDATE result_database SET version = ?2 WHERE line_id = ?1")
      .BindAll(line.id, VersionText(wanted))
      .Run();
  return "result database of " + line.name + " updated to " + VersionText(wanted);
}

/// The model the plant itself gives: its factories and lines, each line with
/// its time zone and result database.
dc::TopologyModel DefaultModel(SqliteDatabase& db) {
  auto rows = db.Prepare(
      "SELECT f.name, l.name, l.iana_zone, l.windows_zone, l.utc_offset_minutes,"
      " l.daylight_saving, r.name FROM factory f LEFT JOIN line l ON l.factory_id = f.id"
      " LEFT JOIN result_database r ON r.line_id = l.id ORDER BY f.id, l.id");
  dc::TopologyModel model;
  while (rows.Step()) {
    if (model.factories_size() == 0 ||
        model.factories().rbegin()->basenode().name() != rows.Text(0)) {
      model.add_factories()->mutable_basenode()->set_name(rows.Text(0));
    }
    if (rows.IsNull(1)) continue;
    dc::LineNode& line = *model.mutable_factories()->rbegin()->add_lines();
    line.mutable_basenode()->set_name(rows.Text(1));
    dc::TimezoneInfo& zone = *line.mutable_timezoneinfo();
    zone.set_ianatimezoneid(rows.Text(2));
    zone.set_windowstimezoneid(rows.Text(3));
    zone.set_utcoffsetinminutes(static_cast<std::int32_t>(rows.Int(4)));
    zone.set_supportsdaylightsavingtime(rows.Int(5) != 0);
    if (!rows.IsNull(6)) {
      line.mutable_resultdb()->set_databasename(rows.Text(6));
      line.mutable_resultdb()->set_dbtype(dc::Enumerator::ResultDb);
    }
  }
  return model;
}

/// The model in force: the one stored last, else the default one.
dc::TopologyModel ModelInForce(SqliteDatabase& db) {
  auto stored = db.Prepare("SELECT model FROM topology_model WHERE id = 1");
  if (!stored.Step()) return DefaultModel(db);
  dc::TopologyModel model;
  if (!model.ParseFromString(stored.Text(0))) throw std::runtime_error("a stored model is damaged");
  return model;
}

void StoreModel(SqliteDatabase& db, const dc::TopologyModel& model) {
  db.Prepare("INSERT OR REPLACE INTO topology_model VALUES (1, ?1)")
      .BindAll(model.SerializeAsString())
      .Run();
}

std::string UpdateModel(SqliteDatabase& db, const dc::UpdateTopologyModelCommand& command) {
  std::string context = command.factory();
  if (!command.line().empty()) {
    const PlantLine line = LineOf(db, command);  // refuses a context the plant does not have
    context += "/" + line.name;
  }
  if (!command.testbench().empty()) context += "/" + command.testbench();
  StoreModel(db, command.topologymodel());
  return "topology model updated for " + (context.empty() ? std::string("the plant") : context) +
         " (" + dc::Enumerator::Target_Name(command.target()) + ")";
}

/// Adds the line (when new) with the result database it names, and puts it
/// into the model: alone with ReplaceAllLines, else beside the lines there.
std::string ConfigureModel(SqliteDatabase& db, const dc::ConfigureTopologyModelCommand& command) {
  if (command.factory().empty() || command.line().empty()) {
    throw PlantRefusal(400, "a line needs a factory and a name");
  }
  db.Prepare("INSERT OR IGNORE INTO factory (name) VALUES (?1)").BindAll(command.factory()).Run();
  db.Prepare(
        "INSERT INTO line (factory_id, name, iana_zone, windows_zone, utc_offset_minutes,"
        " daylight_saving, bench_iana_zone, bench_windows_zone, bench_utc_offset_minutes,"
        " bench_daylight_saving) SELECT f.id, ?2, 'Etc/UTC', 'UTC', 0, 0, 'Etc/UTC', 'UTC', 0, 0"
        " FROM factory f WHERE f.name = ?1 AND NOT EXISTS (SELECT 1 FROM line l"
        " WHERE l.factory_id = f.id AND l.name = ?2)")
      .BindAll(command.factory(), command.line())
      .Run();
  const PlantLine line = LineOf(db, command);
  if (!command.resultdatabasename().empty()) {
    db.Prepare(
          "INSERT OR REPLACE INTO result_database VALUES (?1, ?2, NULL, COALESCE((SELECT version"
          " FROM result_database WHERE line_id = ?1), (SELECT value FROM plant_info"
          " WHERE key = 'api_version')))")
        .BindAll(line.id, command.resultdatabasename())
        .Run();
  }
  dc::TopologyModel model = ModelInForce(db);
  const dc::TopologyModel plant = DefaultModel(db);
  dc::LineNode configured;
  for (const dc::FactoryNode& factory : plant.factories()) {
    for (const dc::LineNode& node : factory.lines()) {
      if (factory.basenode().name() == command.factory() && node.basenode().name() == line.name)
        configured = node;
    }
  }
  if (command.replacealllines()) model.clear_factories();
  dc::FactoryNode* factory = nullptr;
  for (dc::FactoryNode& node : *model.mutable_factories()) {
    if (node.basenode().name() == command.factory()) factory = &node;
  }
  if (factory == nullptr) {
    factory = model.add_factories();
    factory->mutable_basenode()->set_name(command.factory());
  }
  auto& lines = *factory->mutable_lines();
  for (int i = lines.size() - 1; i >= 0; --i) {
    if (lines[i].basenode().name() == line.name) lines.DeleteSubrange(i, 1);
  }
  *factory->add_lines() = std::move(configured);
  StoreModel(db, model);
  // The database password is neither stored nor logged.
  return "topology model configured with " + command.factory() + "/" + line.name +
         (command.replacealllines() ? " alone" : "");
}

/// The status of one recipient of a propagation: success, or a context the plant does not have.
dc::MessageContainer RecipientStatus(bool known) {
  dc::MessageContainer status;
  if (!known) {
    status.set_codecategory(dc::Enumerator::CodeCategory_Topology);
    status.set_detailcode(dc::Enumerator::Topology_NodeForContextNotFound);
    status.set_level(dc::Enumerator::Error);
  }
  return status;
}

/// Adds one entry per service node of `node` ("<factory>/<line>/<service>"),
/// or one for the line itself when it has none.
void AddRecipients(SqliteDatabase& db, const std::string& factory, const dc::LineNode& node,
                   dc::PropagateTopologyModelContainer& answer) {
  auto exists = db.Prepare(
      "SELECT 1 FROM line l JOIN factory f ON f.id = l.factory_id WHERE f.name = ?1 AND l.name = "
      "?2");
  exists.BindAll(factory, node.basenode().name());
  const dc::MessageContainer status = RecipientStatus(exists.Step());
  const std::string line = factory + "/" + node.basenode().name();
  const std::pair<const char*, bool> services[] = {
      {"Archive", node.has_archive()},      {"Collector", node.has_collector()},
      {"ResultDb", node.has_resultdb()},    {"ParamDb", node.has_paramdb()},
      {"Sound", node.has_sound()},          {"MeasurementService", node.has_measurementservice()},
      {"TestStands", node.has_teststands()}};
  bool any = false;
  for (const auto& [service, present] : services) {
    if (present) (*answer.mutable_values())[line + "/" + service] = status;
    any = any || present;
  }
  if (!any) (*answer.mutable_values())[line] = status;
}

/// Stores the model as the one in force and hands it to each line's services;
/// the model's secrets stay in the encrypted form they came in and are not logged.
CannedAnswer Propagate(SqliteDatabase& db, const google::protobuf::Message& request) {
  const auto& model =
      dynamic_cast<const dc::PropagateTopologyModelCommand&>(request).topologymodel();
  dc::PropagateTopologyModelContainer answer;
  for (const dc::FactoryNode& factory : model.factories()) {
    for (const dc::LineNode& line : factory.lines()) {
      AddRecipients(db, factory.basenode().name(), line, answer);
    }
  }
  const auto failed =
      std::count_if(answer.values().begin(), answer.values().end(),
                    [](const auto& entry) { return entry.second.codecategory() != 0; });
  SqliteTransaction transaction(db);
  StoreModel(db, model);
  WriteLogEntry(db, "PropagateTopologyModelCommand",
                "topology model propagated to " + std::to_string(answer.values().size()) +
                    " recipients, " + std::to_string(failed) + " failed");
  transaction.Commit();
  return MessageAnswer(answer);
}

}  // namespace

void AddAdministrationHandlers(std::map<std::string, PlantHandler, std::less<>>& handlers) {
  handlers.emplace("ResultDbVersionQuery",
                   Answering<dc::ResultDbVersionQuery>([](SqliteDatabase& db, const auto& q) {
                     return DatabaseVersion(db, LineOf(db, q));
                   }));
  handlers.emplace("ResultDbCreationCommand", Command<dc::ResultDbCreationCommand>(CreateDatabase));
  handlers.emplace("ResultDbUpdateCommand", Command<dc::ResultDbUpdateCommand>(UpdateDatabase));
  handlers.emplace("DefaultTopologyModelQuery",
                   Answering<dc::DefaultTopologyModelQuery>(
                       [](SqliteDatabase& db, const auto&) { return DefaultModel(db); }));
  handlers.emplace("TopologyModelQuery",
                   Answering<dc::TopologyModelQuery>(
                       [](SqliteDatabase& db, const auto&) { return ModelInForce(db); }));
  handlers.emplace("UpdateTopologyModelCommand",
                   Command<dc::UpdateTopologyModelCommand>(UpdateModel));
  handlers.emplace("ConfigureTopologyModelCommand",
                   Command<dc::ConfigureTopologyModelCommand>(ConfigureModel));
  handlers.emplace("PropagateTopologyModelCommand", Propagate);
}

}  // namespace vrex::stub::plant
