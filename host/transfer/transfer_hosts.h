#pragma once

#include <cstdint>
#include <filesystem>

#include "platform/support/file_descriptor.h"

namespace host {

/// The live hosts of a container: each locks one byte of a shared file, at the offset that is its
/// id. When a process ends by any means, the system releases its lock and closes the file, which
/// notifies the hosts that watch it. Used by one thread; throws std::system_error.
class TransferHosts {
 public:
  explicit TransferHosts(std::filesystem::path file);

  /// Locks this host's byte, unless that is done and the file is still the same.
  void join();
  /// Random, so that no other host has it; locked after `join`.
  std::int64_t id() const { return id_; }
  bool isAlive(std::int64_t id) const;
  /// While the result lives, no other host creates or replaces the database. Waits for those that
  /// do.
  platform::FileDescriptor lockDatabase() const;

  /// Makes `descriptor` readable when a host ends, and when the file is removed.
  void watch();
  int descriptor() const { return watcher_.get(); }
  /// Whether that happened since the last call.
  bool takeChange();

 private:
  std::filesystem::path file_;
  std::int64_t id_;
  platform::FileDescriptor held_;
  platform::FileDescriptor watcher_;
};

}  // namespace host
