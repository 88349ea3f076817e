#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

// Files of web pages, embedded in the program by `glancery_page_files` in CMake.

namespace host {

struct PageFile {
  /// Its path on a server: "/home.css".
  std::string_view name;
  std::string_view text;
};

/// The text of the file with that name, if there is one.
std::optional<std::string_view> pageFile(std::span<const PageFile> files, std::string_view name);

/// A page on its own, without a server: shared styles and helpers around `body`, which finds `json`
/// as the value `data` of its script.
std::string documentPage(std::string_view body, std::string_view json);

/// The text as the content of an HTML element, with `&` and `<` replaced. Not for attributes.
std::string escapedHTML(std::string_view text);

}  // namespace host
