#include "host/sheet/page.h"

#include "platform/support/require.h"

namespace host {

std::string pageWith(std::string_view source, std::string_view json) {
  constexpr std::string_view kMark = "{{data}}";
  const std::size_t mark = source.find(kMark);
  if (mark == std::string_view::npos) {
    platform::fatalError("a page has no place for its data");
  }
  std::string page(source.substr(0, mark));
  for (const char character : json) {
    // A text that holds "</script>" must not end the script that it stands in.
    page += character == '<' ? "\\u003c" : std::string(1, character);
  }
  page += source.substr(mark + kMark.size());
  return page;
}

}  // namespace host
