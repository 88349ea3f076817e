#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace platform {

/// A failure, as a sentence that names the file.
struct SqliteError : std::runtime_error {
  SqliteError(const std::string& text, bool isDamage)
      : std::runtime_error(text), damaged(isDamage) {}
  /// Whether the file is not a database or its content is inconsistent.
  bool damaged;
};

/// One connection to an SQLite database in WAL mode. Strings are stored as bytes. Waits up to five
/// seconds for writers in other processes. Every function but `hasMoved` throws SqliteError.
class SqliteDatabase {
 public:
  using Value = std::variant<std::monostate, std::int64_t, double, std::string>;
  using Row = std::vector<Value>;

  /// Opens the file and checks its content. With a schema (one or more statements) a missing file
  /// is created; two processes must not do that at once.
  explicit SqliteDatabase(const std::filesystem::path& file, const char* schema = nullptr);

  /// Whether it has no table: the process that created the file ended before it made them.
  bool isEmpty();
  /// Runs one statement as a transaction and returns its rows. The prepared statement is kept.
  std::vector<Row> run(const char* sql, std::initializer_list<Value> parameters = {});
  /// Whether later commits survive a power cut, as they do unless changed. All of them survive the
  /// end of the process.
  void syncCommits(bool sync);
  /// Whether the file was removed or renamed since it was opened.
  bool hasMoved() const;

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
    void operator()(sqlite3_stmt* statement) const;
  };
  void execute(const char* sql);
  SqliteError failure() const;

  std::filesystem::path file_;
  std::unique_ptr<sqlite3, Close> connection_;
  std::map<std::string, std::unique_ptr<sqlite3_stmt, Close>, std::less<>> prepared_;
  bool syncs_ = true;
};

}  // namespace platform
