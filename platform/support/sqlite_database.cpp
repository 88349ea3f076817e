#include "platform/support/sqlite_database.h"

#include <sqlite3.h>

#include <cerrno>
#include <string_view>
#include <system_error>

namespace platform {

namespace {

using Value = SqliteDatabase::Value;

void bind(sqlite3_stmt* statement, int index, const Value& value) {
  if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    sqlite3_bind_int64(statement, index, *integer);
  } else if (const auto* real = std::get_if<double>(&value)) {
    sqlite3_bind_double(statement, index, *real);
  } else if (const auto* bytes = std::get_if<std::string>(&value)) {
    sqlite3_bind_blob64(statement, index, bytes->data(), bytes->size(), SQLITE_STATIC);
  } else {
    sqlite3_bind_null(statement, index);
  }
}

Value column(sqlite3_stmt* statement, int index) {
  switch (sqlite3_column_type(statement, index)) {
    case SQLITE_INTEGER:
      return std::int64_t{sqlite3_column_int64(statement, index)};
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, index);
    case SQLITE_NULL:
      return std::monostate();
    default:
      const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, index));
      const int length = sqlite3_column_bytes(statement, index);
      return std::string(bytes ? bytes : "", static_cast<std::size_t>(length));
  }
}

}  // namespace

void SqliteDatabase::Close::operator()(sqlite3* connection) const {
  sqlite3_close(connection);
}

void SqliteDatabase::Close::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

SqliteDatabase::SqliteDatabase(const std::filesystem::path& file, const char* schema)
    : file_(file) {
  sqlite3* connection = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | (schema ? SQLITE_OPEN_CREATE : 0);
  const int opened = sqlite3_open_v2(file.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  if (opened != SQLITE_OK) {
    throw failure();
  }
  constexpr int kBusyTimeout = 5000;
  sqlite3_busy_timeout(connection, kBusyTimeout);
  // The next process reads the last pages from the write-ahead log: closing need not copy them.
  sqlite3_db_config(connection, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);

  const auto version = std::get<std::int64_t>(run("PRAGMA user_version").at(0).at(0));
  if (schema && version == 0) {
    execute("PRAGMA journal_mode = WAL");
    const std::string all = std::string("BEGIN;") + schema + ";PRAGMA user_version = 1;COMMIT";
    execute(all.c_str());
  } else if (version != 1 && (version != 0 || !isEmpty())) {
    throw SqliteError(file_.string() + " is of another version", true);
  }
  execute("PRAGMA synchronous = FULL");
  const auto verdict = std::get<std::string>(run("PRAGMA quick_check(1)").at(0).at(0));
  if (verdict != "ok") {
    const std::string lastLine = verdict.substr(verdict.rfind('\n') + 1);
    throw SqliteError(file_.string() + " is damaged: " + lastLine, true);
  }
}

bool SqliteDatabase::isEmpty() {
  return run("SELECT 1 FROM sqlite_schema LIMIT 1").empty();
}

std::vector<SqliteDatabase::Row> SqliteDatabase::run(const char* sql,
                                                     std::initializer_list<Value> parameters) {
  auto known = prepared_.find(std::string_view(sql));
  if (known == prepared_.end()) {
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(connection_.get(), sql, -1, &prepared, nullptr) != SQLITE_OK) {
      throw failure();
    }
    known = prepared_.emplace(sql, prepared).first;
  }
  sqlite3_stmt* const prepared = known->second.get();
  // A statement that is not reset holds its lock.
  const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> inUse(prepared, sqlite3_reset);
  int index = 0;
  for (const Value& parameter : parameters) {
    bind(prepared, ++index, parameter);
  }
  std::vector<Row> rows;
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(prepared)) == SQLITE_ROW) {
    Row& row = rows.emplace_back();
    for (int at = 0; at < sqlite3_column_count(prepared); ++at) {
      row.push_back(column(prepared, at));
    }
  }
  if (result != SQLITE_DONE) {
    throw failure();
  }
  return rows;
}

void SqliteDatabase::syncCommits(bool sync) {
  if (sync != syncs_) {
    execute(sync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
    syncs_ = sync;
  }
}

/// Runs statements that return nothing.
void SqliteDatabase::execute(const char* sql) {
  if (sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw failure();
  }
}

bool SqliteDatabase::hasMoved() const {
  int moved = 0;
  sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved != 0;
}

SqliteError SqliteDatabase::failure() const {
  // SQLite keeps the error number of failed opens only.
  const int last = errno;
  const int code = sqlite3_errcode(connection_.get());
  const int kept = sqlite3_system_errno(connection_.get());
  const int system = kept != 0 ? kept : last;
  const bool fromSystem = system != 0 && (code == SQLITE_CANTOPEN || code == SQLITE_IOERR);
  const std::string why = fromSystem ? std::generic_category().message(system)
                                     : std::string(sqlite3_errmsg(connection_.get()));
  return SqliteError(file_.string() + ": " + why, code == SQLITE_CORRUPT || code == SQLITE_NOTADB);
}

}  // namespace platform
