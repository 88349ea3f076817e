#pragma once

#include <optional>
#include <string>

#include "host/http/http_request.h"
#include "platform/foundation/time/date.h"

namespace host {

struct ApiAnswer {
  int status = 200;
  /// A JSON text.
  std::string body;
  /// For the log: user and language.
  std::string note = {};
};

inline constexpr const char* kApiPath = "/api/widgets/get_affirmation";

/// Answers a request. An error's text names the header or member at fault.
///
/// Without `validKey` every key is valid, even an empty one. Host headers other than loopback names
/// are refused, so that no web page in a browser can use the API.
ApiAnswer answerOf(const HttpRequest& request,
                   const std::optional<std::string>& validKey,
                   platform::Date now);

}  // namespace host
