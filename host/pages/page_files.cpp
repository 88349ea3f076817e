#include "host/pages/page_files.h"

#include <absl/strings/str_replace.h>

#include <algorithm>

namespace host {

/// The folder `document`.
extern const std::span<const PageFile> kDocumentPage;

std::optional<std::string_view> pageFile(std::span<const PageFile> files, std::string_view name) {
  const auto file = std::ranges::find(files, name, &PageFile::name);
  return file == files.end() ? std::nullopt : std::optional(file->text);
}

std::string documentPage(std::string_view body, std::string_view json) {
  std::string page(pageFile(kDocumentPage, "/page.html").value());
  absl::StrReplaceAll({{"{{page}}", std::string(body)}, {"{{data}}", escapedHTML(json)}}, &page);
  return page;
}

std::string escapedHTML(std::string_view text) {
  std::string escaped(text);
  absl::StrReplaceAll({{"&", "&amp;"}, {"<", "&lt;"}}, &escaped);
  return escaped;
}

}  // namespace host
