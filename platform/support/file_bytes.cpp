#include "platform/support/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace platform {

std::expected<std::string, std::string> fileBytes(const std::filesystem::path& file) {
  const auto failure = [&] { return std::unexpected(file.string() + ": " + std::strerror(errno)); };
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return failure();
  }
  struct stat status = {};
  std::string bytes;
  if (fstat(descriptor, &status) == 0 && status.st_size > 0) {
    bytes.resize(static_cast<std::size_t>(status.st_size));
  }
  std::size_t filled = 0;
  ssize_t count = 1;
  while (filled < bytes.size() && count > 0) {
    count = read(descriptor, bytes.data() + filled, bytes.size() - filled);
    filled += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  if (count < 0) {
    const auto error = failure();
    close(descriptor);
    return error;
  }
  close(descriptor);
  bytes.resize(filled);
  return bytes;
}

}  // namespace platform
