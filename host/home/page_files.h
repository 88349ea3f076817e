#pragma once

#include <string_view>

namespace host {

/// The page's files, which the program carries in itself.
struct PageFile {
  std::string_view path;
  std::string_view type;
  std::string_view bytes;
};

/// Null for a path that the page does not have.
const PageFile* pageFile(std::string_view path);

/// Where the page has the token that lets it change anything.
inline constexpr std::string_view kTokenPlace = "{{token}}";

}  // namespace host
