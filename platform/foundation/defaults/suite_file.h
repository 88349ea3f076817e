#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace platform {

/// What a suite's file held when it was read.
struct SuiteContents {
  enum class State {
    /// No file: a suite that no one has written yet.
    missing,
    whole,
    /// The bytes are no property list, or one that is no dictionary.
    damaged,
    /// There is a file, but the system does not let us read it.
    unreadable,
  };
  State state = State::missing;
  /// A dictionary, empty unless the file is whole.
  Value value = Dictionary();
  /// A sentence that names the file and what is damaged or why it is unreadable; else empty.
  std::string reason = {};

  const Dictionary& dictionary() const { return *value.dictionary(); }
};

/// The file behind a suite, and the two files beside it that make it safe to share.
///
/// A writer holds the lock on `<suite>.plist.lock` while it reads, changes and replaces; the lock
/// goes with the process, however that ends. The new file is written whole as `<suite>.plist.new`
/// and then changes places with the old one in one step, so that a reader, which takes no lock,
/// sees one or the other. A file once in place is never written to again. The new file has the old
/// one's mode. Where the suite is a symbolic link, all of this happens where the link leads.
class SuiteFile {
 public:
  explicit SuiteFile(std::filesystem::path path) : path_(std::move(path)) {}

  /// `<container>/Library/Preferences/<suite>.plist`; an empty path for a name that no file can
  /// have.
  static std::filesystem::path pathOf(const std::filesystem::path& container,
                                      std::string_view suiteName);

  /// Whether there is a file to read, or a container to write one into; if not, a sentence says
  /// why.
  std::expected<void, std::string> canBeOpened() const;

  /// The file itself: where the path leads if it is a symbolic link, even if nothing is there yet.
  std::filesystem::path target() const;

  SuiteContents read() const;

  /// Lets `edit` change the contents and puts the result in place, unless `edit` returns that there
  /// is nothing to write. A damaged file is set aside first. The error is a sentence; what stood in
  /// the file then still stands there or beside it.
  using Edit = std::function<bool(Dictionary&)>;
  std::expected<void, std::string> change(const Edit& edit) const;

  /// Forces the file and the folders that lead to it to the disk.
  std::expected<void, std::string> synchronize() const;

 private:
  std::filesystem::path container() const;
  std::filesystem::path path_;
};

}  // namespace platform
