#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

struct HttpRequest {
  std::string method;
  /// The path and the query.
  std::string target;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;

  /// The first header of that name, in any letter case.
  std::optional<std::string> header(std::string_view name) const;
};

/// Whether a Host header is a loopback name, with any port. Servers check this because a web page
/// can make a browser send requests here under a host name of its own.
bool isLoopbackHost(std::string_view host);

/// Whether a Content-Type header is JSON, with any parameters.
bool isJSONType(std::string_view contentType);

/// The target without its query.
std::string_view pathOf(std::string_view target);

}  // namespace host
