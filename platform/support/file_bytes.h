#pragma once

#include <expected>
#include <filesystem>
#include <string>

namespace platform {

/// A whole file; the error names it and says why it can't be read.
std::expected<std::string, std::string> fileBytes(const std::filesystem::path& file);

}  // namespace platform
