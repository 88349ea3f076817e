#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace platform {

/// The contents of a suite's file.
struct SuiteContents {
  enum class State {
    /// There is no file: nothing has been written yet.
    missing,
    whole,
    /// The bytes are not a property list, or the list is not a dictionary.
    damaged,
    /// The system refuses to read the file.
    unreadable,
  };
  State state = State::missing;
  /// A dictionary, empty unless the file is whole.
  Value value = Dictionary();
  /// A sentence that names the file and what is damaged or why it is unreadable; else empty.
  std::string reason = {};

  const Dictionary& dictionary() const { return *value.dictionary(); }
};

/// The file of a suite, which several processes may read and write.
///
/// A writer locks `<suite>.plist.lock` while it reads, changes and replaces the file; the lock ends
/// with the process at the latest. The file is replaced in one step by way of `<suite>.plist.new`,
/// so that a reader, which takes no lock, sees the old file or the new one. The new file keeps the
/// mode. If the suite is a symbolic link, its target is locked and replaced.
class SuiteFile {
 public:
  explicit SuiteFile(std::filesystem::path path) : path_(std::move(path)) {}

  /// `<container>/Library/Preferences/<suite>.plist`; empty if that is not a valid file name.
  static std::filesystem::path pathOf(const std::filesystem::path& container,
                                      std::string_view suiteName);

  /// Succeeds if there is a file to read or a container to write it to; the error is a sentence.
  std::expected<void, std::string> canBeOpened() const;

  /// The file after all symbolic links; it need not exist.
  std::filesystem::path target() const;

  SuiteContents read() const;

  /// Passes the contents to `edit` and replaces the file with the result, unless `edit` returns
  /// false. A damaged file is kept under another name. The error is a sentence; after one, the old
  /// bytes are still in the file or under that name.
  using Edit = std::function<bool(Dictionary&)>;
  std::expected<void, std::string> change(const Edit& edit) const;

  /// Forces the file and the folders of its path to the disk.
  std::expected<void, std::string> synchronize() const;

 private:
  std::filesystem::path container() const;
  std::filesystem::path path_;
};

}  // namespace platform
