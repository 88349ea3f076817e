#include "host/transfer/transfer_hosts.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <random>
#include <string>
#include <system_error>

#include "platform/support/files.h"

namespace host {

namespace {

/// Larger offsets are ids of hosts.
constexpr std::int64_t kDatabaseByte = 0;

struct flock byteLock(std::int64_t at) {
  return {.l_type = F_WRLCK, .l_whence = SEEK_SET, .l_start = at, .l_len = 1, .l_pid = 0};
}

platform::FileDescriptor locked(const std::filesystem::path& file, std::int64_t at) {
  platform::FileDescriptor opened = platform::openFile(file, O_RDWR | O_CREAT);
  struct flock lock = byteLock(at);
  if (!opened || ::fcntl(opened.get(), F_OFD_SETLKW, &lock) != 0) {
    throw std::system_error(errno, std::generic_category(), "can't lock " + file.string());
  }
  return opened;
}

std::int64_t newId() {
  std::random_device random;
  return std::uniform_int_distribution<std::int64_t>(1, std::int64_t{1} << 60)(random);
}

}  // namespace

TransferHosts::TransferHosts(std::filesystem::path file)
    : file_(std::move(file)), id_(newId()), watcher_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
}

void TransferHosts::join() {
  std::error_code missing;
  const std::string held = "/proc/self/fd/" + std::to_string(held_.get());
  if (!held_ || !std::filesystem::equivalent(held, file_, missing)) {
    held_ = locked(file_, id_);
  }
}

bool TransferHosts::isAlive(std::int64_t id) const {
  if (held_ && id == id_) {
    return true;
  }
  const platform::FileDescriptor file = platform::openFile(file_, O_RDONLY);
  struct flock lock = byteLock(id);
  return file && ::fcntl(file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

platform::FileDescriptor TransferHosts::lockDatabase() const {
  return locked(file_, kDatabaseByte);
}

void TransferHosts::watch() {
  // A host has the file open for writing until it ends.
  constexpr std::uint32_t kEvents = IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVE_SELF;
  if (::inotify_add_watch(watcher_.get(), file_.c_str(), kEvents) < 0) {
    throw std::system_error(errno, std::generic_category(), "can't watch " + file_.string());
  }
}

bool TransferHosts::takeChange() {
  bool changed = false;
  std::array<char, 4096> events;
  while (::read(watcher_.get(), events.data(), events.size()) > 0) {
    changed = true;
  }
  return changed;
}

}  // namespace host
