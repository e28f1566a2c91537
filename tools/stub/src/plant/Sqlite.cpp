#include "plant/Sqlite.h"

#include <new>
#include <utility>

namespace vrex::stub::plant {

namespace {

[[noreturn]] void Fail(sqlite3* db, const std::string& doing) {
  throw SqliteError(doing + ": " + (db != nullptr ? sqlite3_errmsg(db) : "out of memory"));
}

void Check(sqlite3* db, int code, const char* doing) {
  if (code != SQLITE_OK) Fail(db, doing);
}

}  // namespace

SqliteStatement::SqliteStatement(SqliteDatabase& owner, sqlite3_stmt* statement, std::string sql)
    : owner_(&owner), db_(owner.Handle()), statement_(statement), sql_(std::move(sql)) {}

SqliteStatement::~SqliteStatement() {
  if (statement_ == nullptr) return;
  Reset();
  owner_->Keep(std::move(sql_), statement_);
}

SqliteStatement::SqliteStatement(SqliteStatement&& other) noexcept
    : owner_(other.owner_),
      db_(other.db_),
      statement_(std::exchange(other.statement_, nullptr)),
      sql_(std::move(other.sql_)) {}

SqliteStatement& SqliteStatement::Bind(int index, std::int64_t value) {
  Check(db_, sqlite3_bind_int64(statement_, index, value), "binding a number");
  return *this;
}

SqliteStatement& SqliteStatement::Bind(int index, double value) {
  Check(db_, sqlite3_bind_double(statement_, index, value), "binding a number");
  return *this;
}

SqliteStatement& SqliteStatement::Bind(int index, std::string_view text) {
  Check(db_,
        sqlite3_bind_text(statement_, index, text.data(), static_cast<int>(text.size()),
                          SQLITE_TRANSIENT),
        "binding a text");
  return *this;
}

SqliteStatement& SqliteStatement::BindPointer(int index, const void* pointer, const char* type) {
  Check(db_, sqlite3_bind_pointer(statement_, index, const_cast<void*>(pointer), type, nullptr),
        "binding a pointer");
  return *this;
}

SqliteStatement& SqliteStatement::BindNull(int index) {
  Check(db_, sqlite3_bind_null(statement_, index), "binding null");
  return *this;
}

bool SqliteStatement::Step() {
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  Fail(db_, "running a statement");
}

void SqliteStatement::Run() {
  while (Step()) {
  }
}

void SqliteStatement::Reset() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

std::int64_t SqliteStatement::Int(int column) const {
  return sqlite3_column_int64(statement_, column);
}

double SqliteStatement::Real(int column) const { return sqlite3_column_double(statement_, column); }

std::string SqliteStatement::Text(int column) const {
  const auto* text = sqlite3_column_text(statement_, column);
  return text == nullptr
             ? std::string()
             : std::string(reinterpret_cast<const char*>(text),
                           static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
}

bool SqliteStatement::IsNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

SqliteDatabase::SqliteDatabase(const std::filesystem::path& file, Mode mode) {
  const int flags = mode == Mode::ReadOnly    ? SQLITE_OPEN_READONLY
                    : mode == Mode::ReadWrite ? SQLITE_OPEN_READWRITE
                                              : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  // Each connection is used by one thread at a time.
  if (sqlite3_open_v2(file.c_str(), &db_, flags | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
    const std::string what = db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory";
    sqlite3_close(db_);
    throw SqliteError(file.string() + ": " + what);
  }
  sqlite3_busy_timeout(db_, 5000);
  Execute("PRAGMA foreign_keys = ON");
}

SqliteDatabase::~SqliteDatabase() {
  for (const auto& [sql, statement] : kept_) sqlite3_finalize(statement);
  sqlite3_close(db_);
}

void SqliteDatabase::Keep(std::string sql, sqlite3_stmt* statement) noexcept {
  try {
    if (kept_.size() < kKeptStatements && kept_.emplace(std::move(sql), statement).second) return;
  } catch (const std::bad_alloc&) {  // not kept, then
  }
  sqlite3_finalize(statement);  // too many, or one of the same SQL came back first
}

void SqliteDatabase::DefineFunction(const char* name, int arguments,
                                    void (*function)(sqlite3_context*, int, sqlite3_value**)) {
  if (functions_.count(name) != 0) return;
  Check(db_,
        sqlite3_create_function(db_, name, arguments, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                function, nullptr, nullptr),
        "defining a function");
  functions_.emplace(name);
}

void SqliteDatabase::Execute(std::string_view sql) {
  char* message = nullptr;
  if (sqlite3_exec(db_, std::string(sql).c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
    const std::string what = message != nullptr ? message : "unknown error";
    sqlite3_free(message);
    throw SqliteError("running SQL: " + what);
  }
}

SqliteStatement SqliteDatabase::Prepare(std::string_view sql) {
  std::string text(sql);
  sqlite3_stmt* statement = nullptr;
  if (const auto kept = kept_.find(text); kept != kept_.end()) {
    statement = kept->second;
    kept_.erase(kept);  // in use until the statement comes back
  } else {
    Check(db_,
          sqlite3_prepare_v2(db_, text.data(), static_cast<int>(text.size()), &statement, nullptr),
          "preparing a statement");
  }
  return SqliteStatement(*this, statement, std::move(text));
}

std::optional<std::int64_t> SqliteDatabase::QueryInt(std::string_view sql) {
  SqliteStatement statement = Prepare(sql);
  if (!statement.Step()) return std::nullopt;
  return statement.Int(0);
}

std::int64_t SqliteDatabase::LastInsertId() const { return sqlite3_last_insert_rowid(db_); }
int SqliteDatabase::Changes() const { return sqlite3_changes(db_); }

SqliteTransaction::SqliteTransaction(SqliteDatabase& db) : db_(db) {
  db_.Execute("BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction() {
  if (open_) {
    try {
      db_.Execute("ROLLBACK");
    } catch (const SqliteError&) {
      // Nothing more to undo: SQLite rolled back already.
    }
  }
}

void SqliteTransaction::Commit() {
  db_.Execute("COMMIT");
  open_ = false;
}

}  // namespace vrex::stub::plant
