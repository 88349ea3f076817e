#pragma once

#include "platform/swiftui/environment.h"
#include "platform/swiftui/view.h"
#include "widgets/moodlog/binnacle_entry.h"

namespace glancery {

/// Seven days in a row, each a mood's picture over the day's name.
struct BinnacleView {
  platform::ColorSchemeEnvironment _colorScheme = {};
  BinnacleEntry entry;

  platform::View body() const;
};

}  // namespace glancery
