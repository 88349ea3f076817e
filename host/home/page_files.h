#pragma once

#include <optional>
#include <string_view>

namespace host {

/// The bytes of the page's file at that path, "/home.css"; nothing for a path that the page does
/// not have. The program carries them in itself.
std::optional<std::string_view> pageFile(std::string_view path);

}  // namespace host
