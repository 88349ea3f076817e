#pragma once

#include <expected>
#include <filesystem>
#include <string>

namespace platform {

/// Loads one of the program's shared libraries and returns the address of the named function. The
/// library is never unloaded, as objects with code in it may outlive any handle. The error names
/// the library and what is missing.
std::expected<void*, std::string> openModule(const std::filesystem::path& library,
                                             const char* function);

}  // namespace platform
