#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/locale/date_formatter.h"
#include "platform/foundation/time/calendar.h"
#include "platform/foundation/time/date.h"
#include "widgets/moodlog/mood_day.h"

namespace glancery {

/// The mood log's names of days: "Hoy", "Ayer", for earlier days the short weekday of the device's
/// locale, "Lun".
class DayLabels {
 public:
  explicit DayLabels(platform::Calendar calendar);
  std::string label(platform::Date day) const;

 private:
  platform::Calendar calendar_;
  /// Shared by all days, as the first text of a formatter is slow.
  platform::NSDateFormatter weekday_;
};

/// Cuts weekdays of Spanish and French to three characters: "Lun." becomes "Lun".
std::string cutWeekday(const std::string& weekday, const std::optional<std::string>& languageCode);

/// The last seven days of the current calendar, from six days ago to today, without moods.
std::vector<MoodDay> emptyWeek();

/// The same with the sample moods of placeholder and snapshot.
std::vector<MoodDay> sampleWeek();

}  // namespace glancery
