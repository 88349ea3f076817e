#include "platform/foundation/suite_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>

#include "platform/foundation/property_list.h"

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

/// All bytes of the file, or the system's error. A file in place never changes, but its size is
/// only believed as far as it can be read.
std::expected<std::string, int> readWhole(const Path& path) {
  const FileDescriptor file(path, O_RDONLY);
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) {
    return std::unexpected(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return std::unexpected(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
  }
  std::string bytes(static_cast<std::size_t>(status.st_size) + 1, '\0');
  std::size_t size = 0;
  while (true) {
    const ssize_t got = ::read(file.get(), bytes.data() + size, bytes.size() - size);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      return std::unexpected(errno);
    }
    if (got == 0) {
      bytes.resize(size);
      return bytes;
    }
    size += static_cast<std::size_t>(got);
    if (size == bytes.size()) {
      bytes.resize(2 * size);
    }
  }
}

/// A file of that name that was not there before, with exactly these bytes.
Done writeNew(const Path& path, std::string_view bytes) {
  // A writer that was killed leaves its file behind. Cutting that one to length could cut the file
  // of a reader: it is the old suite if the kill came after the exchange.
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    return failure("remove", path, errno);
  }
  FileDescriptor file(path, O_WRONLY | O_CREAT | O_EXCL);
  if (!file) {
    return failure("create", path, errno);
  }
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
  if (!file.close()) {
    return failure("write", path, errno);
  }
  return {};
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
Done setAside(const Path& file, std::string_view reason) {
  for (int number = 1;; ++number) {
    const std::string suffix = number == 1 ? ".damaged" : ".damaged-" + std::to_string(number);
    const Path aside = beside(file, suffix);
    if (renameToFreeName(file, aside)) {
      std::fprintf(stderr,
                   "NSUserDefaults: %s is damaged and set aside as %s: %.*s\n",
                   file.c_str(),
                   aside.filename().c_str(),
                   static_cast<int>(reason.size()),
                   reason.data());
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

bool SuiteFile::canBeOpened() const {
  if (path_.empty()) {
    return false;
  }
  struct stat status {};
  if (::stat(path_.c_str(), &status) == 0) {
    return S_ISREG(status.st_mode) && ::access(path_.c_str(), R_OK) == 0;
  }
  const bool unwritten = errno == ENOENT;
  const Path folder = container();
  return unwritten && ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         ::access(folder.c_str(), X_OK) == 0;
}

SuiteContents SuiteFile::read() const {
  using enum SuiteContents::State;
  const auto bytes = readWhole(path_);
  if (!bytes) {
    const bool absent = bytes.error() == ENOENT;
    return {.state = absent ? missing : unreadable,
            .reason = std::generic_category().message(bytes.error())};
  }
  auto value = NSPropertyListSerialization::propertyListWithData(*bytes);
  if (!value) {
    return {.state = damaged, .reason = value.error().debugDescription};
  }
  if (!value->dictionary()) {
    return {.state = damaged, .reason = "the property list is no dictionary"};
  }
  return {.state = whole, .value = *std::move(value)};
}

Done SuiteFile::change(const Edit& edit) const {
  const Path lockFile = beside(path_, ".lock");
  auto lock = std::make_unique<Lock>(lockFile);
  if (lock->error() == ENOENT) {
    const Path preferences = path_.parent_path();
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
    return std::unexpected("can't read " + path_.string() + ": " + contents.reason);
  }
  const bool damaged = contents.state == SuiteContents::State::damaged;
  Dictionary members = contents.dictionary();
  if (!edit(members) && !damaged) {
    return {};
  }
  const auto bytes = NSPropertyListSerialization::dataWithPropertyList(members);
  if (!bytes) {
    return std::unexpected(bytes.error().debugDescription);
  }
  const Path next = beside(path_, ".new");
  if (auto written = writeNew(next, *bytes); !written) {
    return written;
  }
  if (damaged) {
    if (auto aside = setAside(path_, contents.reason); !aside) {
      return aside;
    }
  }
  return moveIntoPlace(next, path_);
}

Done SuiteFile::synchronize() const {
  const Path preferences = path_.parent_path();
  // Held so that no other writer puts a file in place whose bytes are not on the disk yet.
  const Lock lock(beside(path_, ".lock"));
  if (lock.error() == ENOENT) {
    return {};  // No folder: nothing has been written.
  }
  if (lock.error() != 0) {
    return failure("lock", beside(path_, ".lock"), lock.error());
  }
  for (const Path& path : {path_, preferences, preferences.parent_path(), container()}) {
    const FileDescriptor file(path, O_RDONLY);
    if (!file && errno == ENOENT) {
      continue;
    }
    if (!file || ::fsync(file.get()) != 0) {
      return failure("synchronize", path, errno);
    }
  }
  return {};
}

}  // namespace platform
