#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

struct HttpRequest {
  std::string method;
  /// As it was sent, with its query.
  std::string target;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;

  /// The first header of that name, in any case; an absent one is not one that is empty.
  std::optional<std::string> header(std::string_view name) const;
};

/// Whether a Host header names this machine by a loopback name, with any port: a page of the web
/// that a browser shows must not get at a server here under a name of its own.
bool isLoopbackHost(std::string_view host);

/// Whether a Content-Type header says JSON, with any parameters.
bool isJSONType(std::string_view contentType);

/// The target without its query.
std::string_view pathOf(std::string_view target);

}  // namespace host
