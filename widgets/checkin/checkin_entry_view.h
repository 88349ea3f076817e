#pragma once

#include "platform/swiftui/environment.h"
#include "platform/swiftui/view.h"
#include "widgets/checkin/checkin_simple_entry.h"

namespace glancery {

/// A question, five faces to answer it with, and the day.
struct CheckinEntryView {
  platform::ColorSchemeEnvironment _colorScheme = {};
  CheckinSimpleEntry entry;

  platform::View body() const;
};

}  // namespace glancery
