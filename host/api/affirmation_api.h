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
  /// For the log: whom it was for, and in which language.
  std::string note = {};
};

inline constexpr const char* kApiPath = "/api/widgets/get_affirmation";

/// What the API answers. The error's text names the header or member at fault.
///
/// `wantedKey` is the only valid key; without one, any will do, an empty one too. Host headers
/// other than loopback are refused: a page of the web that a browser shows must not get at it.
ApiAnswer answerOf(const HttpRequest& request,
                   const std::optional<std::string>& wantedKey,
                   platform::Date now);

}  // namespace host
