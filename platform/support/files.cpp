#include "platform/support/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/support/require.h"

namespace platform {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFirstChunk = 4096;

std::error_code lastError() {
  return {errno, std::generic_category()};
}

fs::path withSuffix(fs::path file, std::string_view suffix) {
  return file += suffix;
}

std::error_code writeAndClose(FileDescriptor file, std::string_view bytes) {
  if (!file) {
    return lastError();
  }
  if (const auto error = writeBytes(file.get(), bytes)) {
    return error;
  }
  return file.close() ? std::error_code() : lastError();
}

/// Never replaces a file; false with `errno` if it fails.
bool renameToFreeName(const fs::path& from, const fs::path& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  const bool unsupported = errno == EINVAL || errno == ENOSYS;
  return unsupported && ::link(from.c_str(), to.c_str()) == 0 && ::unlink(from.c_str()) == 0;
}

std::expected<FileDescriptor, std::error_code> locked(FileDescriptor file, int operation) {
  while (file) {
    if (::flock(file.get(), operation) == 0) {
      return file;
    }
    if (errno != EINTR) {
      break;
    }
  }
  return std::unexpected(lastError());
}

}  // namespace

fs::path programFolder() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (error) {
    fatalError("can't read /proc/self/exe: " + error.message());
  }
  return program.parent_path();
}

FileDescriptor openFile(const fs::path& path, int flags, mode_t mode) {
  return FileDescriptor(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, mode));
}

std::expected<std::string, std::error_code> readFile(const fs::path& file) {
  const FileDescriptor opened = openFile(file, O_RDONLY);
  struct stat status = {};
  if (!opened || ::fstat(opened.get(), &status) != 0) {
    return std::unexpected(lastError());
  }
  // One byte more than the size, so that the next read finds the end. Files in /proc have size 0.
  const auto expected = static_cast<std::size_t>(status.st_size) + 1;
  std::string bytes(std::max(kFirstChunk, expected), '\0');
  std::size_t filled = 0;
  for (;;) {
    if (filled == bytes.size()) {
      bytes.resize(2 * bytes.size());
    }
    const ssize_t count = ::read(opened.get(), bytes.data() + filled, bytes.size() - filled);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return std::unexpected(lastError());
    }
    if (count == 0) {
      break;
    }
    filled += static_cast<std::size_t>(count);
  }
  bytes.resize(filled);
  return bytes;
}

std::error_code writeBytes(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return lastError();
    }
  }
  return {};
}

std::error_code writeFile(const fs::path& file, std::string_view bytes) {
  return writeAndClose(openFile(file, O_WRONLY | O_CREAT | O_TRUNC, 0666), bytes);
}

std::error_code replaceFile(const fs::path& file, std::string_view bytes, mode_t mode) {
  const auto error = writeReplacement(file, bytes, mode);
  return error ? error : commitReplacement(file);
}

std::error_code writeReplacement(const fs::path& file, std::string_view bytes, mode_t mode) {
  const fs::path next = withSuffix(file, ".new");
  // A killed writer leaves its file behind. That may be the old file, after the exchange, which a
  // reader still has open: truncating it would cut what the reader sees.
  if (::unlink(next.c_str()) != 0 && errno != ENOENT) {
    return lastError();
  }
  FileDescriptor created = openFile(next, O_WRONLY | O_CREAT | O_EXCL, mode);
  if (!created) {
    return lastError();
  }
  struct stat old = {};
  const bool moded =
      ::stat(file.c_str(), &old) != 0 || ::fchmod(created.get(), old.st_mode & 07777) == 0;
  const auto error = moded ? writeAndClose(std::move(created), bytes) : lastError();
  if (error) {
    ::unlink(next.c_str());  // On a full disk its bytes would be missing elsewhere.
  }
  return error;
}

std::error_code commitReplacement(const fs::path& file) {
  const fs::path next = withSuffix(file, ".new");
  // `rename` over an existing file makes ext4 flush it, which takes most of a millisecond; an
  // exchange does not.
  if (::renameat2(AT_FDCWD, next.c_str(), AT_FDCWD, file.c_str(), RENAME_EXCHANGE) == 0) {
    ::unlink(next.c_str());  // If this fails, the next writer removes the old file.
    return {};
  }
  // The first write has nothing to exchange with, and some file systems can't exchange.
  return std::rename(next.c_str(), file.c_str()) == 0 ? std::error_code() : lastError();
}

std::expected<fs::path, std::error_code> setAside(const fs::path& file) {
  for (int number = 1;; ++number) {
    fs::path aside =
        withSuffix(file, number == 1 ? ".damaged" : ".damaged-" + std::to_string(number));
    if (renameToFreeName(file, aside)) {
      return aside;
    }
    if (errno != EEXIST) {
      return std::unexpected(lastError());
    }
  }
}

std::error_code syncFile(const fs::path& path) {
  const FileDescriptor opened = openFile(path, O_RDONLY);
  return opened && ::fsync(opened.get()) == 0 ? std::error_code() : lastError();
}

std::expected<FileDescriptor, std::error_code> lockFolder(const fs::path& folder) {
  return locked(openFile(folder, O_RDONLY | O_DIRECTORY), LOCK_EX | LOCK_NB);
}

std::expected<FileDescriptor, std::error_code> lockFile(const fs::path& file) {
  return locked(openFile(file, O_RDWR | O_CREAT), LOCK_EX);
}

}  // namespace platform
