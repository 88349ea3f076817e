#pragma once

#include <string>

#include "platform/foundation/text/uuid.h"
#include "platform/foundation/time/date.h"
#include "widgets/moodlog/mood_type.h"

namespace glancery {

struct MoodDay {
  platform::UUID id = {};
  /// The start of the day.
  platform::Date date = platform::Date::distantPast();
  std::string dayLabel = {};
  MoodType mood = MoodType::emptyDay;
};

}  // namespace glancery
