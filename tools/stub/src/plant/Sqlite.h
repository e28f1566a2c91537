#pragma once
// A thin owner of SQLite's C handles: a database connection and its prepared
// statements, each closed by its destructor. Every failure throws
// SqliteError with SQLite's own message, so a caller's transaction rolls back
// by unwinding. A connection keeps the statements it prepared, by their SQL,
// and hands them out again: a kept connection compiles each query once.

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace vrex::stub::plant {

class SqliteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class SqliteDatabase;

class SqliteStatement {
 public:
  /// Reset and given back to `owner`'s statements when destroyed.
  SqliteStatement(SqliteDatabase& owner, sqlite3_stmt* statement, std::string sql);
  ~SqliteStatement();
  SqliteStatement(SqliteStatement&& other) noexcept;
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;
  SqliteStatement& operator=(SqliteStatement&&) = delete;

  // Parameters count from 1, as in SQL's "?1".
  SqliteStatement& Bind(int index, std::int64_t value);
  SqliteStatement& Bind(int index, double value);
  SqliteStatement& Bind(int index, std::string_view text);
  SqliteStatement& BindNull(int index);
  /// A pointer for an SQL function of the connection, which reads it with
  /// sqlite3_value_pointer(value, type); the pointer must outlive the run.
  SqliteStatement& BindPointer(int index, const void* pointer, const char* type);
  /// Binds the values in order from ?1 on.
  template <typename... Values>
  SqliteStatement& BindAll(const Values&... values) {
    int index = 0;
    (Bind(++index, values), ...);
    return *this;
  }

  /// Steps once: true while a row is there to read.
  bool Step();
  /// Steps to the end (for statements that return no rows).
  void Run();
  /// Clears the bindings and rewinds, ready to run again.
  void Reset();

  std::int64_t Int(int column) const;
  double Real(int column) const;
  std::string Text(int column) const;
  bool IsNull(int column) const;

 private:
  SqliteDatabase* owner_;
  sqlite3* db_;
  sqlite3_stmt* statement_ = nullptr;
  std::string sql_;
};

class SqliteDatabase {
 public:
  enum class Mode { ReadOnly, ReadWrite, Create };
  SqliteDatabase(const std::filesystem::path& file, Mode mode);
  ~SqliteDatabase();
  SqliteDatabase(const SqliteDatabase&) = delete;
  SqliteDatabase& operator=(const SqliteDatabase&) = delete;

  /// Runs one or more statements without parameters.
  void Execute(std::string_view sql);
  SqliteStatement Prepare(std::string_view sql);
  /// The single value of a query of one row and one column, if it gave a row.
  std::optional<std::int64_t> QueryInt(std::string_view sql);
  std::int64_t LastInsertId() const;
  /// Rows the last INSERT, UPDATE or DELETE changed.
  int Changes() const;
  sqlite3* Handle() const { return db_; }
  /// Defines the SQL function `name` of `arguments` arguments on this
  /// connection, once: defining it again would make SQLite compile every
  /// kept statement anew.
  void DefineFunction(const char* name, int arguments,
                      void (*function)(sqlite3_context*, int, sqlite3_value**));

 private:
  friend class SqliteStatement;
  void Keep(std::string sql, sqlite3_stmt* statement) noexcept;

  // Statements kept for their SQL; a query built from many filters has its
  // own text, so only so many are kept.
  static constexpr std::size_t kKeptStatements = 64;
  sqlite3* db_ = nullptr;
  std::unordered_map<std::string, sqlite3_stmt*> kept_;
  std::unordered_set<std::string> functions_;
};

/// BEGIN IMMEDIATE on construction; ROLLBACK on destruction unless committed.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(SqliteDatabase& db);
  ~SqliteTransaction();
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;
  void Commit();

 private:
  SqliteDatabase& db_;
  bool open_ = true;
};

}  // namespace vrex::stub::plant
