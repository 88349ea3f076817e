#pragma once

#include <optional>
#include <string>

#include "platform/foundation/time/date.h"
#include "platform/widgetkit/timeline.h"

namespace glancery {

/// The contents of the affirmation widget from `date` on.
struct AffirmationEntry {
  platform::Date date = platform::Date::distantPast();
  std::optional<std::string> affirmation = {};
  std::optional<std::string> colorName = {};
  /// Whether a user is signed in; otherwise the widget has no link.
  bool hasUid = false;
};

platform::Mirror mirror(const AffirmationEntry& entry);

}  // namespace glancery
