#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace platform {

/// The folder of the app group. No suite can be opened before it is set; not to be changed after
/// that.
void setSharedContainer(std::filesystem::path folder);
const std::filesystem::path& sharedContainer();

/// A suite of typed values by key, shared by every process that opens it.
///
/// The suite is the binary property list `<container>/Library/Preferences/<suite>.plist`, as
/// `SuiteFile` reads and writes it. Every read reads the file again; every write changes one key
/// and keeps the changes of other processes. A kill at any time leaves a readable file.
///
/// A file that can't be parsed reads as an empty suite; the next write renames it to
/// `<suite>.plist.damaged` (then `.damaged-2`, ...). If the system refuses to read the file, writes
/// fail as well.
///
/// Holds only a path: cheap to create, safe from any thread.
class NSUserDefaults {
 public:
  /// Nothing if the suite can't be opened: there is no container, the name is not a valid file name
  /// (empty, with a slash, over 230 bytes), or the file can't be read. A suite that has not been
  /// written yet is empty.
  static std::optional<NSUserDefaults> initWithSuiteName(std::string_view suiteName);

  /// The stored value, or nothing.
  std::optional<Value> objectForKey(std::string_view key) const;
  std::optional<Data> dataForKey(std::string_view key) const;
  /// The integer, a number cut toward zero, a boolean as 1 or 0, or the leading digits of a string;
  /// otherwise 0.
  std::int64_t integerForKey(std::string_view key) const;
  /// The whole suite.
  Dictionary dictionaryRepresentation() const;

  // A write that fails is lost, as on the platform, and prints the error to standard error.

  void setObject(const Value& value, std::string_view key);
  void setInteger(std::int64_t value, std::string_view key);
  void removeObjectForKey(std::string_view key);

  /// Forces all writes to the disk; false if that failed. Without it a power cut may lose them, but
  /// the end of a process does not.
  bool synchronize();

 private:
  explicit NSUserDefaults(std::filesystem::path file) : file_(std::move(file)) {}

  std::filesystem::path file_;
};

}  // namespace platform
