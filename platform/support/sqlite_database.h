#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

struct sqlite3;

namespace platform {

/// What a database could not do, as a sentence that names the file.
struct SqliteError : std::runtime_error {
  SqliteError(const std::string& text, bool isDamage)
      : std::runtime_error(text), damaged(isDamage) {}
  /// The file is not a database, or its content contradicts itself.
  bool damaged;
};

/// One connection to an SQLite database in WAL mode. Strings are kept byte by byte. Waits up to
/// five seconds for writers in other processes. Every function throws SqliteError.
class SqliteDatabase {
 public:
  using Value = std::variant<std::monostate, std::int64_t, double, std::string>;
  using Row = std::vector<Value>;

  /// Opens the file and checks its content. With a schema, a missing file is created; two processes
  /// must not do that at once.
  explicit SqliteDatabase(const std::filesystem::path& file, const char* schema = nullptr);

  /// Runs one statement as a transaction and returns its rows.
  std::vector<Row> run(const char* sql, std::initializer_list<Value> parameters = {});
  /// Whether the file was removed or renamed since it was opened.
  bool hasMoved() const;

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  SqliteError failure() const;

  std::filesystem::path file_;
  std::unique_ptr<sqlite3, Close> connection_;
};

}  // namespace platform
