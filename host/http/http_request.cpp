#include "host/http/http_request.h"

#include <algorithm>
#include <cctype>

namespace host {

namespace {

bool sameName(std::string_view one, std::string_view other) {
  return std::ranges::equal(one, other, [](unsigned char a, unsigned char b) {
    return std::tolower(a) == std::tolower(b);
  });
}

}  // namespace

std::optional<std::string> HttpRequest::header(std::string_view name) const {
  const auto found =
      std::ranges::find_if(headers, [&](const auto& field) { return sameName(field.first, name); });
  return found == headers.end() ? std::nullopt : std::optional(found->second);
}

bool isLoopbackHost(std::string_view host) {
  const std::string_view name = host.substr(0, host.find(':'));
  return name == "127.0.0.1" || name == "localhost";
}

bool isJSONType(std::string_view contentType) {
  return contentType.substr(0, contentType.find_first_of("; ")) == "application/json";
}

std::string_view pathOf(std::string_view target) {
  return target.substr(0, target.find('?'));
}

}  // namespace host
