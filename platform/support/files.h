#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace platform {

/// The whole file; the error is the system's own. A folder is `is_a_directory`.
std::expected<std::string, std::error_code> readFile(const std::filesystem::path& file);

/// Replaces the file; the error is the system's own. Not atomic, not synced: for results, not for
/// anything that another process reads meanwhile.
std::error_code writeFile(const std::filesystem::path& file, std::string_view bytes);

}  // namespace platform
