#pragma once

#include <memory>
#include <vector>

#include "intents/configuration_intent.h"
#include "platform/foundation/time/date.h"
#include "platform/widgetkit/timeline.h"
#include "widgets/moodlog/mood_day.h"

namespace glancery {

/// The contents of the mood log from `date` on.
struct BinnacleEntry {
  platform::Date date = platform::Date::distantPast();
  /// From six days ago to today.
  std::vector<MoodDay> moodDays = {};
  std::shared_ptr<ConfigurationIntent> configuration = {};
  /// Whether a user is signed in; otherwise the widget has no link.
  bool hasUid = false;
};

platform::Mirror mirror(const BinnacleEntry& entry);

}  // namespace glancery
