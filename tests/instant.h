#pragma once

#include <string_view>

#include "platform/foundation/time/date.h"
#include "platform/support/require.h"

/// The instant that a test writes as "2025-03-05T18:30:00Z".
inline platform::Date instant(std::string_view iso8601) {
  return platform::require(platform::Date::fromISO8601(iso8601));
}
