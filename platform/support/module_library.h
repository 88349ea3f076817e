#pragma once

#include <expected>
#include <filesystem>
#include <string>

namespace platform {

/// Opens a shared library of ours and keeps it for good: objects with code in it may outlive any
/// handle. Answers the address of the named function; the error says what is missing where.
std::expected<void*, std::string> openModule(const std::filesystem::path& library,
                                             const char* function);

}  // namespace platform
