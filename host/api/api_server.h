#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/http/http_server.h"

namespace host {

/// How the development server answers; by default without faults.
struct ApiSettings {
  std::uint16_t port = 8788;
  /// The only valid key; every key is valid if none is given.
  std::optional<std::string> key = {};

  // Faults, for tests of clients.
  /// Sent instead of 200.
  std::optional<int> status = {};
  /// Seconds before an answer.
  double delay = 0;
  /// Closes the connection after half of the body.
  bool cut = false;
  bool badJSON = false;
  /// The length of the body, reached by a long text.
  std::optional<std::uint64_t> huge = {};
};

/// The affirmation API on 127.0.0.1. `log` receives a line for every request, on the server's
/// thread. The error says why the port can't be opened.
std::expected<std::unique_ptr<HttpServer>, std::string> openApi(
    ApiSettings settings, std::function<void(const std::string&)> log);

}  // namespace host
