#pragma once

#include <string>

#include "platform/foundation/data/value.h"

namespace platform {

/// What a user was doing when one program handed over to another.
struct NSUserActivity {
  /// A reverse-DNS identifier.
  std::string activityType;
  Dictionary userInfo = {};
};

}  // namespace platform
