#pragma once
// The tables of a plant database (docs/plant.md describes each column).

#include <string_view>

namespace vrex::stub::plant {

/// Raises with every new table or column; a plant file of another version is
/// refused rather than misread.
inline constexpr int kPlantSchemaVersion = 2;

inline constexpr std::string_view kPlantSchema = R"sql(
CREATE TABLE plant_info (key TEXT PRIMARY KEY, value TEXT NOT NULL);
CREATE TABLE factory (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE line (
  id INTEGER PRIMARY KEY,
  factory_id INTEGER NOT NULL REFERENCES factory(id),
  name TEXT NOT NULL,
  iana_zone TEXT NOT NULL, windows_zone TEXT NOT NULL,
  utc_offset_minutes INTEGER NOT NULL, daylight_saving INTEGER NOT NULL,
  bench_iana_zone TEXT NOT NULL, bench_windows_zone TEXT NOT NULL,
  bench_utc_offset_minutes INTEGER NOT NULL, bench_daylight_saving INTEGER NOT NULL,
  UNIQUE (factory_id, name));
CREATE TABLE bench (
  id INTEGER PRIMARY KEY, line_id INTEGER NOT NULL REFERENCES line(id), name TEXT NOT NULL,
  UNIQUE (line_id, name));
CREATE TABLE shift (
  id INTEGER PRIMARY KEY, line_id INTEGER NOT NULL REFERENCES line(id), name TEXT NOT NULL,
  UNIQUE (line_id, name));
CREATE TABLE shift_item (
  id INTEGER PRIMARY KEY, shift_id INTEGER NOT NULL REFERENCES shift(id) ON DELETE CASCADE,
  start_minute INTEGER NOT NULL, end_minute INTEGER NOT NULL, day INTEGER NOT NULL,
  weekdays TEXT NOT NULL);
CREATE TABLE base_type (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE unit_type (
  id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE,
  base_type_id INTEGER NOT NULL REFERENCES base_type(id));
CREATE TABLE test_kind (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE result_kind (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE test (
  id INTEGER PRIMARY KEY,
  line_id INTEGER NOT NULL REFERENCES line(id),
  time INTEGER NOT NULL,
  serial TEXT NOT NULL,
  type_id INTEGER NOT NULL REFERENCES unit_type(id),
  bench_id INTEGER NOT NULL REFERENCES bench(id),
  result_id INTEGER NOT NULL REFERENCES result_kind(id),
  test_kind_id INTEGER NOT NULL REFERENCES test_kind(id),
  property_id INTEGER NOT NULL,
  ordinal INTEGER NOT NULL,
  this_last INTEGER NOT NULL,
  first_time INTEGER NOT NULL,
  next_time INTEGER,
  file_offset INTEGER NOT NULL,
  operator TEXT NOT NULL,
  production_order TEXT NOT NULL,
  seed INTEGER NOT NULL);
CREATE INDEX test_by_line_time ON test (line_id, time);
CREATE INDEX test_by_line_serial ON test (line_id, serial);
CREATE TABLE name_table (table_name TEXT NOT NULL, id INTEGER NOT NULL, name TEXT NOT NULL,
  PRIMARY KEY (table_name, id));
CREATE TABLE quantity (
  id INTEGER PRIMARY KEY,
  mode TEXT NOT NULL, instrument TEXT NOT NULL, channel TEXT NOT NULL,
  location TEXT NOT NULL, parameter TEXT NOT NULL, sensor TEXT NOT NULL,
  data_type INTEGER NOT NULL,
  error_code INTEGER NOT NULL, error_text TEXT NOT NULL,
  limit_description TEXT NOT NULL);
CREATE TABLE defect (
  test_id INTEGER NOT NULL REFERENCES test(id) ON DELETE CASCADE,
  nr INTEGER NOT NULL,
  quantity_id INTEGER NOT NULL REFERENCES quantity(id),
  error_code INTEGER NOT NULL, error_text TEXT NOT NULL, error_result INTEGER NOT NULL,
  value REAL NOT NULL, limit_value REAL NOT NULL, position REAL NOT NULL,
  PRIMARY KEY (test_id, nr));
CREATE TABLE error_group (
  id INTEGER PRIMARY KEY, line_id INTEGER NOT NULL REFERENCES line(id), name TEXT NOT NULL,
  UNIQUE (line_id, name));
CREATE TABLE error_group_item (
  error_group_id INTEGER NOT NULL REFERENCES error_group(id) ON DELETE CASCADE,
  code_from INTEGER NOT NULL, code_to INTEGER NOT NULL);
CREATE TABLE reference_unit (
  line_id INTEGER NOT NULL REFERENCES line(id), name TEXT NOT NULL,
  kind INTEGER NOT NULL, PRIMARY KEY (line_id, name, kind));
CREATE TABLE log_entry (
  id INTEGER PRIMARY KEY, time INTEGER NOT NULL, level INTEGER NOT NULL,
  source TEXT NOT NULL, text TEXT NOT NULL);
CREATE TABLE token (name TEXT PRIMARY KEY, value TEXT NOT NULL);
CREATE TABLE result_database (
  line_id INTEGER PRIMARY KEY REFERENCES line(id), name TEXT NOT NULL, path TEXT,
  version TEXT NOT NULL);
CREATE TABLE topology_model (id INTEGER PRIMARY KEY CHECK (id = 1), model BLOB NOT NULL);
)sql";

}  // namespace vrex::stub::plant
