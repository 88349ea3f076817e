#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace platform {

/// The folder of the app group that this process may read and write; empty until it is set, and
/// then no suite can be opened. Set once, before the first suite is opened.
void setSharedContainer(std::filesystem::path folder);
const std::filesystem::path& sharedContainer();

/// A suite of typed values by key, shared by every process that opens it.
///
/// The suite is the binary property list `<container>/Library/Preferences/<suite>.plist`. Every
/// read looks at the file anew and sees it whole, as one writer left it; every write changes one
/// key and keeps those that other processes wrote meanwhile. A kill at any moment leaves a readable
/// file.
///
/// A file that can't be parsed reads as an empty suite; the next write sets it aside beside the
/// suite as `<suite>.plist.damaged` (then `.damaged-2`, ...) before it starts a new one. A file
/// that the system does not let us read is left alone, and writes are refused.
///
/// The folders come with the first write, and beside the suite a file `<suite>.plist.lock` that
/// stays. Writers wait for each other there, readers for nobody.
///
/// Holds a path and nothing else: cheap to make, safe from any thread.
class NSUserDefaults {
 public:
  /// Nothing if the suite can't be opened: no container, a name that no file can have (empty, with
  /// a slash, over 230 bytes), or a file that can't be read. A suite that no one has written yet is
  /// open and empty.
  static std::optional<NSUserDefaults> initWithSuiteName(std::string_view suiteName);

  /// The stored value, or nothing. Strings, numbers, booleans, data, dates, arrays, dictionaries.
  std::optional<Value> objectForKey(std::string_view key) const;
  std::optional<Data> dataForKey(std::string_view key) const;
  /// The integer; a number cut toward zero, a boolean as 1 or 0, the leading digits of a string;
  /// otherwise 0.
  std::int64_t integerForKey(std::string_view key) const;
  /// The whole suite.
  Dictionary dictionaryRepresentation() const;

  /// Each replaces the one key. A write that the file system refuses is lost, as on the platform,
  /// and says so on standard error.
  void setObject(const Value& value, std::string_view key);
  void setInteger(std::int64_t value, std::string_view key);
  void removeObjectForKey(std::string_view key);

  /// Returns once all that was written is on the disk; false if that failed. Without it a write is
  /// safe from the end of any process, but not yet from the end of the power.
  bool synchronize();

 private:
  explicit NSUserDefaults(std::filesystem::path file) : file_(std::move(file)) {}

  std::filesystem::path file_;
};

}  // namespace platform
