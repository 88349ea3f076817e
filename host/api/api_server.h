#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/http/http_server.h"

namespace host {

/// How the development server answers; by default as the real one would.
struct ApiSettings {
  std::uint16_t port = 8788;
  /// The only key that is let in; any without.
  std::optional<std::string> key = {};

  // Faults, to see what a client makes of them.
  /// Instead of 200.
  std::optional<int> status = {};
  /// Seconds before an answer.
  double delay = 0;
  /// Half of the body, then the end of the connection.
  bool cut = false;
  bool badJSON = false;
  /// A text that makes the body that long.
  std::optional<std::uint64_t> huge = {};
};

/// The affirmation API on 127.0.0.1. `log` hears a line for every request, on the server's thread.
/// The error says why it can't be served.
std::expected<std::unique_ptr<HttpServer>, std::string> openApi(
    ApiSettings settings, std::function<void(const std::string&)> log);

}  // namespace host
