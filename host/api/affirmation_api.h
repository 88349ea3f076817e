#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/http/http_server.h"
#include "platform/foundation/time/date.h"

namespace host {

inline constexpr const char* kApiPath = "/api/widgets/get_affirmation";

struct Affirmation {
  std::string text;
  /// blush, gold or sky
  std::string color;
  friend bool operator==(const Affirmation&, const Affirmation&) = default;
};

/// The affirmation of a user on a day, which is counted from any fixed day. The next day has
/// another text and color. `language` is a code or a locale; unknown ones are answered in Spanish,
/// known are es, en, pt and fr.
Affirmation affirmationOf(std::string_view uid, std::int64_t day, std::string_view language);

struct ApiAnswer {
  HttpAnswer http;
  /// The user and the language of a valid request, for the log.
  std::string user = {};
};

/// Answers a request. An error's text names the header or member at fault. Without `validKey` every
/// key is valid, even an empty one.
ApiAnswer answerOf(const HttpRequest& request,
                   const std::optional<std::string>& validKey,
                   platform::Date now);

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
