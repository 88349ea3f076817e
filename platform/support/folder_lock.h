#pragma once

#include <expected>
#include <filesystem>
#include <system_error>

#include "platform/support/file_descriptor.h"

namespace platform {

enum class WhenHeld { wait, giveUp };

/// Holds a folder against all others that ask for it like this, in this process and in others, for
/// as long as the result lives. `std::errc::operation_would_block` if another holds it and waiting
/// is not wanted.
std::expected<FileDescriptor, std::error_code> lockFolder(const std::filesystem::path& folder,
                                                          WhenHeld whenHeld);

}  // namespace platform
