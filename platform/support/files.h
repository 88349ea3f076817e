#pragma once

#include <sys/types.h>

#include <expected>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/support/file_descriptor.h"

namespace platform {

// Errors are the system's own. Callers name the file, as only they know what it is for.

/// The folder of the running program.
std::filesystem::path programFolder();

/// Opens a file or a folder, closed on exec; negative with `errno` if that fails. Does not wait for
/// the other end of a FIFO. `mode` is that of a file that `O_CREAT` creates, less the umask.
FileDescriptor openFile(const std::filesystem::path& path, int flags, mode_t mode = 0600);

/// The whole file. A folder is `is_a_directory`.
std::expected<std::string, std::error_code> readFile(const std::filesystem::path& file);

/// Writes all bytes, however many calls that takes.
std::error_code writeBytes(int descriptor, std::string_view bytes);

/// Overwrites the file. Neither atomic nor synced: for results that no other process reads
/// meanwhile.
std::error_code writeFile(const std::filesystem::path& file, std::string_view bytes);

/// Replaces the file in one step: readers see the old bytes or the new ones, also after a kill. Not
/// synced, so a power cut may lose both. Keeps the old file's mode; `mode` is a new file's, less
/// the umask. Callers make sure that a file has one writer at a time.
std::error_code replaceFile(const std::filesystem::path& file,
                            std::string_view bytes,
                            mode_t mode = 0666);
/// The two halves of `replaceFile`: write `<file>.new`, and put that in place.
std::error_code writeReplacement(const std::filesystem::path& file,
                                 std::string_view bytes,
                                 mode_t mode = 0666);
std::error_code commitReplacement(const std::filesystem::path& file);

/// Renames a damaged file to the first free name of `<file>.damaged`, `<file>.damaged-2` and so on.
std::expected<std::filesystem::path, std::error_code> setAside(const std::filesystem::path& file);

/// Forces a file or a folder to the disk.
std::error_code syncFile(const std::filesystem::path& path);

/// Holds the folder while the result lives, against other callers in this process and in others.
/// Fails with `operation_would_block` if it is held already.
std::expected<FileDescriptor, std::error_code> lockFolder(const std::filesystem::path& folder);

/// The same for a file, which is created if needed. Waits until other holders are done.
std::expected<FileDescriptor, std::error_code> lockFile(const std::filesystem::path& file);

}  // namespace platform
