#include "platform/support/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace platform {

std::expected<FileDescriptor, std::error_code> lockFolder(const std::filesystem::path& folder,
                                                          WhenHeld whenHeld) {
  FileDescriptor lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const int operation = whenHeld == WhenHeld::wait ? LOCK_EX : LOCK_EX | LOCK_NB;
  int locked = -1;
  while (lock && (locked = ::flock(lock.get(), operation)) != 0 && errno == EINTR) {
  }
  if (locked != 0) {
    return std::unexpected(std::error_code(errno, std::generic_category()));
  }
  return lock;
}

}  // namespace platform
