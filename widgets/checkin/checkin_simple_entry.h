#pragma once

#include <memory>

#include "intents/configuration_intent.h"
#include "platform/foundation/time/date.h"
#include "platform/widgetkit/timeline.h"

namespace glancery {

/// The contents of the check-in widget.
struct CheckinSimpleEntry {
  platform::Date date = platform::Date::distantPast();
  std::shared_ptr<ConfigurationIntent> configuration = {};
  /// Whether a user is signed in; otherwise the faces are not links.
  bool hasUid = false;
  friend bool operator==(const CheckinSimpleEntry&, const CheckinSimpleEntry&) = default;
};

platform::Mirror mirror(const CheckinSimpleEntry& entry);

}  // namespace glancery
