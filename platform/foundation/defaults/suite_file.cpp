#include "platform/foundation/defaults/suite_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <vector>

#include "platform/foundation/data/binary_property_list.h"
#include "platform/foundation/data/property_list.h"
#include "platform/support/files.h"

namespace platform {

namespace {

using Path = std::filesystem::path;
using Done = std::expected<void, std::string>;

constexpr std::string_view kExtension = ".plist";
/// The longest suffix that a suite's file name may get.
constexpr std::string_view kLongestSuffix = ".damaged-999999";
constexpr std::size_t kMaxFileName = 255;

Path lockPathOf(Path file) {
  return file += ".lock";
}

std::unexpected<std::string> failure(std::string_view what,
                                     const Path& path,
                                     std::error_code error) {
  return std::unexpected("can't " + std::string(what) + " " + path.string() + ": " +
                         error.message());
}

std::unexpected<std::string> failure(std::string_view what, const Path& path, int error) {
  return failure(what, path, std::error_code(error, std::generic_category()));
}

int createFolder(const Path& folder) {
  return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

}  // namespace

Path SuiteFile::pathOf(const Path& container, std::string_view suiteName) {
  const bool fits = suiteName.size() + kExtension.size() + kLongestSuffix.size() <= kMaxFileName;
  if (container.empty() || suiteName.empty() || !fits ||
      suiteName.find_first_of(std::string_view("/\0", 2)) != suiteName.npos) {
    return {};
  }
  return container / "Library" / "Preferences" / (std::string(suiteName) += kExtension);
}

Path SuiteFile::container() const {
  return path_.parent_path().parent_path().parent_path();
}

Path SuiteFile::target() const {
  constexpr int kMaxLinks = 40;
  Path path = path_;
  std::error_code isNoLink;
  for (int links = 0; links < kMaxLinks; ++links) {
    const Path next = std::filesystem::read_symlink(path, isNoLink);
    if (isNoLink) {
      break;
    }
    path = path.parent_path() / next;
  }
  return path;
}

Done SuiteFile::canBeOpened() const {
  if (path_.empty()) {
    return std::unexpected("there is no container, or the suite's name is not a valid file name");
  }
  struct stat status {};
  if (::stat(path_.c_str(), &status) == 0) {
    if (!S_ISREG(status.st_mode)) {
      return std::unexpected("can't open " + path_.string() + ": not a regular file");
    }
    return ::access(path_.c_str(), R_OK) == 0 ? Done() : failure("open", path_, errno);
  }
  if (errno != ENOENT) {
    return failure("open", path_, errno);
  }
  const Path folder = container();
  if (::stat(folder.c_str(), &status) != 0 || ::access(folder.c_str(), X_OK) != 0) {
    return failure("open", folder, errno);
  }
  return S_ISDIR(status.st_mode) ? Done() : failure("open", folder, ENOTDIR);
}

SuiteContents SuiteFile::read() const {
  using enum SuiteContents::State;
  const auto bytes = readFile(path_);
  if (!bytes) {
    if (bytes.error() == std::errc::no_such_file_or_directory) {
      return {};
    }
    return {.state = unreadable,
            .reason = "can't read " + path_.string() + ": " + bytes.error().message()};
  }
  auto value = readPropertyList(*bytes);
  if (value && value->dictionary()) {
    return {.state = whole, .value = *std::move(value)};
  }
  return {.state = damaged,
          .reason = path_.string() + " is damaged: " +
                    (value ? "the property list is not a dictionary" : value.error())};
}

Done SuiteFile::change(const Edit& edit) const {
  const Path file = target();
  const Path lockPath = lockPathOf(file);
  auto lock = lockFile(lockPath);
  if (!lock && lock.error() == std::errc::no_such_file_or_directory) {
    const Path preferences = file.parent_path();
    for (const Path& folder : {preferences.parent_path(), preferences}) {
      if (const int error = createFolder(folder); error != 0) {
        return failure("create", folder, error);
      }
    }
    lock = lockFile(lockPath);
  }
  if (!lock) {
    return failure("lock", lockPath, lock.error());
  }

  const SuiteContents contents = read();
  if (contents.state == SuiteContents::State::unreadable) {
    return std::unexpected(contents.reason);
  }
  const bool damaged = contents.state == SuiteContents::State::damaged;
  Dictionary members = contents.dictionary();
  if (!edit(members) && !damaged) {
    return {};
  }
  const auto bytes = writeBinaryPropertyList(members);
  if (!bytes) {
    return std::unexpected(bytes.error().sentence());
  }
  if (const auto error = writeReplacement(file, *bytes, 0600)) {
    return failure("write", file, error);
  }
  if (damaged) {
    const auto aside = setAside(file);
    if (!aside) {
      return failure("set aside", file, aside.error());
    }
    std::fprintf(stderr,
                 "NSUserDefaults: set aside as %s: %s\n",
                 aside->filename().c_str(),
                 contents.reason.c_str());
  }
  if (const auto error = commitReplacement(file)) {
    return failure("replace", file, error);
  }
  return {};
}

Done SuiteFile::synchronize() const {
  const Path file = target();
  // Locked so that no writer replaces the file between its sync and that of the folder.
  const auto lock = lockFile(lockPathOf(file));
  if (!lock) {
    // Without a folder nothing has been written.
    return lock.error() == std::errc::no_such_file_or_directory
               ? Done()
               : failure("lock", lockPathOf(file), lock.error());
  }
  std::vector<Path> paths = {file, file.parent_path()};
  if (file == path_) {  // Otherwise the folders hold a link, which writes do not change.
    paths.insert(paths.end(), {file.parent_path().parent_path(), container()});
  }
  for (const Path& path : paths) {
    const auto error = syncFile(path);
    if (error && error != std::errc::no_such_file_or_directory) {
      return failure("synchronize", path, error);
    }
  }
  return {};
}

}  // namespace platform
