#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

namespace host {

/// The dirty memory, in bytes, of a process with this `/proc/PID/status`: its own pages, in memory
/// (`RssAnon`) or swapped out (`VmSwap`). Pages of mapped files don't count, because the system can
/// drop them at any time. 0 if both fields are missing, as for a process that has ended.
std::size_t dirtyMemoryIn(const std::string& status);
/// The same of a running process; 0 if there is none.
std::size_t dirtyMemoryOf(pid_t process);

/// Watches the dirty memory of a process. Used by one thread.
class MemoryLimit {
 public:
  /// `bytes` is 0 for no limit. Also makes allocations of more than twice as much fail, because the
  /// process could otherwise use up the machine's memory between two checks. What is reserved,
  /// for example stacks of threads, is more than what is ever written.
  MemoryLimit(pid_t process = -1, std::size_t bytes = 0);

  /// Says by how much the process exceeds the limit now, if it does.
  std::optional<std::string> exceeded() const;
  /// The sentence for a process that ended because an allocation failed.
  std::string allocationFailed() const;

 private:
  std::string sentence(const std::string& what) const;

  pid_t process_;
  std::size_t bytes_;
};

}  // namespace host
