#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/locale/date_formatter.h"
#include "platform/foundation/time/calendar.h"
#include "platform/foundation/time/date.h"
#include "widgets/moodlog/mood_day.h"

namespace glancery {

/// Names days as the mood log does: "Hoy", "Ayer", before that a short weekday in the words of the
/// device's locale, "Lun".
class DayLabels {
 public:
  explicit DayLabels(platform::Calendar calendar);
  std::string label(platform::Date day) const;

 private:
  platform::Calendar calendar_;
  /// Serves all days: a formatter of its own for each would cost more than the rest of a week.
  platform::NSDateFormatter weekday_;
};

/// The first three letters where the language abbreviates weekdays with a point, "lun.", which the
/// row has no room for: Spanish, depending on the age of the locale data, and French.
std::string cutWeekday(const std::string& weekday, const std::optional<std::string>& languageCode);

/// The last seven days of the current calendar, from six days ago to today, none with a mood.
std::vector<MoodDay> emptyWeek();

/// The same with moods that show what the widget is about.
std::vector<MoodDay> sampleWeek();

}  // namespace glancery
