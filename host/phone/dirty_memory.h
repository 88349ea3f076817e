#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string_view>

namespace host {

/// The dirty memory, in bytes, of a process whose `/proc/PID/status` reads so: the pages that are
/// its own, in memory (`RssAnon`) or swapped out (`VmSwap`). Pages of files that are merely mapped
/// don't count, because the system can drop them at any time. 0 if neither field is there, as of a
/// process that has ended.
std::size_t dirtyMemoryIn(std::string_view status);

/// The same of a running process; 0 if there is none.
std::size_t dirtyMemoryOf(pid_t pid);

}  // namespace host
