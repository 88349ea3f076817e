#include "host/pages/page_files.h"

#include <absl/strings/str_replace.h>

#include <algorithm>

namespace host {

std::optional<std::string_view> pageFile(std::span<const PageFile> files, std::string_view name) {
  const auto file = std::ranges::find(files, name, &PageFile::name);
  return file == files.end() ? std::nullopt : std::optional(file->text);
}

std::string escapedHTML(std::string_view text) {
  std::string escaped(text);
  absl::StrReplaceAll({{"&", "&amp;"}, {"<", "&lt;"}}, &escaped);
  return escaped;
}

}  // namespace host
