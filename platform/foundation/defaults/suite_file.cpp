#include "platform/foundation/defaults/suite_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/foundation/data/binary_property_list.h"
#include "platform/foundation/data/property_list.h"
#include "platform/support/files.h"

namespace platform {

namespace {

using Path = std::filesystem::path;
using Done = std::expected<void, std::string>;

constexpr std::string_view kExtension = ".plist";
/// The longest of the endings that stand behind a suite's file name, with room to count.
constexpr std::string_view kLongestSuffix = ".damaged-999999";
constexpr std::size_t kMaxFileName = 255;

Path beside(const Path& file, std::string_view suffix) {
  Path path = file;
  path += suffix;
  return path;
}

std::unexpected<std::string> failure(std::string_view what, const Path& path, int error) {
  return std::unexpected("can't " + std::string(what) + " " + path.string() + ": " +
                         std::generic_category().message(error));
}

class FileDescriptor {
 public:
  /// A FIFO in the place of a file must not block.
  FileDescriptor(const Path& path, int flags)
      : descriptor_(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0600)) {}
  ~FileDescriptor() { close(); }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  explicit operator bool() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }
  bool close() {
    const int descriptor = std::exchange(descriptor_, -1);
    return descriptor < 0 || ::close(descriptor) == 0;
  }

 private:
  int descriptor_;
};

Done writeAll(FileDescriptor& file, const Path& path, std::string_view bytes, mode_t mode) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written < 0) {
      return failure("write", path, errno);
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  if (::fchmod(file.get(), mode) != 0 || !file.close()) {
    return failure("write", path, errno);
  }
  return {};
}

/// A file of that name that was not there before, with exactly these bytes and this mode.
Done writeNew(const Path& path, std::string_view bytes, mode_t mode) {
  // A writer that was killed leaves its file behind. Cutting that one to length could cut the file
  // of a reader: it is the old suite if the kill came after the exchange.
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    return failure("remove", path, errno);
  }
  FileDescriptor file(path, O_WRONLY | O_CREAT | O_EXCL);
  if (!file) {
    return failure("create", path, errno);
  }
  auto written = writeAll(file, path, bytes, mode);
  if (!written) {
    ::unlink(path.c_str());  // What it holds would keep a full disk full.
  }
  return written;
}

/// `rename` onto an existing file makes ext4 flush it, which takes most of a millisecond; an
/// exchange does not, and the old file is then removed under the new one's former name.
Done moveIntoPlace(const Path& from, const Path& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_EXCHANGE) == 0) {
    ::unlink(from.c_str());  // Where that fails, the next writer does it.
    return {};
  }
  // The first write has nothing to exchange with; some file systems know no exchange.
  if (::rename(from.c_str(), to.c_str()) != 0) {
    return failure("replace", to, errno);
  }
  return {};
}

/// Renames without ever replacing a file; false with `errno` where it can't.
bool renameToFreeName(const Path& from, const Path& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  const bool unsupported = errno == EINVAL || errno == ENOSYS;
  return unsupported && ::link(from.c_str(), to.c_str()) == 0 && ::unlink(from.c_str()) == 0;
}

/// Moves a damaged file to the first free of its names.
Done setAside(const Path& file, const std::string& reason) {
  for (int number = 1;; ++number) {
    const std::string suffix = number == 1 ? ".damaged" : ".damaged-" + std::to_string(number);
    const Path aside = beside(file, suffix);
    if (renameToFreeName(file, aside)) {
      std::fprintf(stderr,
                   "NSUserDefaults: set aside as %s: %s\n",
                   aside.filename().c_str(),
                   reason.c_str());
      return {};
    }
    if (errno != EEXIST) {
      return failure("set aside", file, errno);
    }
  }
}

/// The lock that writers of a suite share. Where it can't be had, `error` says why.
class Lock {
 public:
  explicit Lock(const Path& path) : file_(path, O_RDWR | O_CREAT) {
    do {
      error_ = file_ && ::flock(file_.get(), LOCK_EX) == 0 ? 0 : errno;
    } while (error_ == EINTR);
  }
  int error() const { return error_; }

 private:
  FileDescriptor file_;
  int error_;
};

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
    return std::unexpected("there is no container, or no file can have the suite's name");
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
  const Path lockFile = beside(file, ".lock");
  auto lock = std::make_unique<Lock>(lockFile);
  if (lock->error() == ENOENT) {
    const Path preferences = file.parent_path();
    for (const Path& folder : {preferences.parent_path(), preferences}) {
      if (const int error = createFolder(folder); error != 0) {
        return failure("create", folder, error);
      }
    }
    lock = std::make_unique<Lock>(lockFile);
  }
  if (lock->error() != 0) {
    return failure("lock", lockFile, lock->error());
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
  struct stat old {};
  const mode_t mode = ::stat(file.c_str(), &old) == 0 ? old.st_mode & 07777 : 0600;
  const Path next = beside(file, ".new");
  if (auto written = writeNew(next, *bytes, mode); !written) {
    return written;
  }
  if (damaged) {
    if (auto aside = setAside(file, contents.reason); !aside) {
      return aside;
    }
  }
  return moveIntoPlace(next, file);
}

Done SuiteFile::synchronize() const {
  const Path file = target();
  // Held so that no other writer puts a file in place whose bytes are not on the disk yet.
  const Lock lock(beside(file, ".lock"));
  if (lock.error() == ENOENT) {
    return {};  // No folder: nothing has been written.
  }
  if (lock.error() != 0) {
    return failure("lock", beside(file, ".lock"), lock.error());
  }
  std::vector<Path> paths = {file, file.parent_path()};
  if (file == path_) {  // Else the folders lead to a link, which no write changes.
    paths.insert(paths.end(), {file.parent_path().parent_path(), container()});
  }
  for (const Path& path : paths) {
    const FileDescriptor opened(path, O_RDONLY);
    if (!opened && errno == ENOENT) {
      continue;
    }
    if (!opened || ::fsync(opened.get()) != 0) {
      return failure("synchronize", path, errno);
    }
  }
  return {};
}

}  // namespace platform
