#pragma once

#include <filesystem>
#include <string>

namespace host {

/// Why the extension could not read its bundle's Info dictionary or texts: the file, the place and
/// what is wrong there. Empty if both can be read. Pictures are read when they are drawn.
std::string bundleFault(const std::filesystem::path& folder);

}  // namespace host
