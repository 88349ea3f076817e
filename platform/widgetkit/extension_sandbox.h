#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace platform {

/// Restricts this process until it ends, as the phone restricts an extension.
///
/// - Files: only folders of `readable` can be read, only `writable` can be read and changed; access
///   to anything else fails with EACCES. Descriptors that are open stay usable.
/// - System calls: one that opens a socket, starts or traces a process, signals another process,
///   changes a mode or an owner by a file's name, or changes the system ends this process with
///   SIGSYS.
///
/// Applies to threads that are started later, not to those that run already. Returns a sentence for
/// each of the two parts that the kernel lacks. Does nothing under a sanitizer, which traces and
/// reads what the sandbox forbids.
std::vector<std::string> enterSandbox(const std::vector<std::filesystem::path>& readable,
                                      const std::filesystem::path& writable);

}  // namespace platform
