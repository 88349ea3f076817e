#pragma once

#include "platform/swiftui/view.h"
#include "widgets/streak/streak_entry.h"

namespace glancery {

/// The flame, the count and, in some states, a message over the entry's backdrop.
struct StreakWidgetEntryView {
  StreakEntry entry;
  /// Whether the view covers the content margins that the system adds from iOS 17 on.
  bool applyNegativePadding = false;

  platform::View body() const;
};

}  // namespace glancery
