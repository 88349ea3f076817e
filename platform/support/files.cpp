#include "platform/support/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace platform {

namespace {

constexpr std::size_t kFirstChunk = 4096;

std::error_code lastError() {
  return {errno, std::generic_category()};
}

/// A descriptor closed at the end of its scope.
struct Descriptor {
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number >= 0) {
      ::close(number);
    }
  }
  int number;
};

}  // namespace

std::expected<std::string, std::error_code> readFile(const std::filesystem::path& file) {
  // A FIFO in the place of a file must not block.
  const Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status = {};
  if (descriptor.number < 0 || ::fstat(descriptor.number, &status) != 0) {
    return std::unexpected(lastError());
  }
  // One more than expected, to meet the end of the file. The kernel's own files say they are empty.
  const auto expected = static_cast<std::size_t>(status.st_size) + 1;
  std::string bytes(std::max(kFirstChunk, expected), '\0');
  std::size_t filled = 0;
  for (;;) {
    if (filled == bytes.size()) {
      bytes.resize(2 * bytes.size());
    }
    const ssize_t count = ::read(descriptor.number, bytes.data() + filled, bytes.size() - filled);
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

std::error_code writeFile(const std::filesystem::path& file, std::string_view bytes) {
  Descriptor descriptor(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (descriptor.number < 0) {
    return lastError();
  }
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor.number, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return lastError();
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  const int closed = ::close(descriptor.number);
  descriptor.number = -1;
  return closed == 0 ? std::error_code() : lastError();
}

}  // namespace platform
