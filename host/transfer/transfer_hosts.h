#pragma once

#include <cstdint>
#include <filesystem>

#include "platform/support/file_descriptor.h"

namespace host {

/// The hosts that are alive: each locks one byte of a shared file, at the offset that is its id.
/// The system releases the lock when the process ends by any means, and closes the file, which
/// notifies the hosts that watch it. Used by one thread; throws std::system_error.
class TransferHosts {
 public:
  explicit TransferHosts(std::filesystem::path file);

  /// Locks a byte from now on; does it again if the file was removed since.
  void join();
  /// Unlike that of any other host; valid after `join`.
  std::int64_t id() const { return id_; }
  bool isAlive(std::int64_t id) const;
  /// Keeps other hosts from creating or replacing the database for as long as the result lives.
  platform::FileDescriptor lockDatabase() const;

  /// Makes `descriptor` readable when a process that used the database ends, and when the file is
  /// removed.
  void watch();
  int descriptor() const { return watcher_.get(); }
  /// Whether that happened since the last call.
  bool takeChange();

 private:
  bool isCurrent() const;

  std::filesystem::path file_;
  std::int64_t id_;
  platform::FileDescriptor held_;
  platform::FileDescriptor watcher_;
};

}  // namespace host
