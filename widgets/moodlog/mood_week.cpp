#include "widgets/moodlog/mood_week.h"

#include <algorithm>
#include <array>

#include "platform/foundation/bundle/bundle.h"
#include "platform/foundation/locale/locale.h"
#include "platform/foundation/text/character_set.h"

namespace glancery {

using namespace platform;

namespace {

constexpr int kDays = 7;
constexpr std::size_t kShortWeekday = 3;

// Starts with today and goes back.
constexpr std::array kSampleMoods = {MoodType::well,
                                     MoodType::emptyDay,
                                     MoodType::veryBad,
                                     MoodType::bad,
                                     MoodType::neutral,
                                     MoodType::well,
                                     MoodType::veryWell};
static_assert(kSampleMoods.size() == kDays);

}  // namespace

std::string cutWeekday(const std::string& weekday, const std::optional<std::string>& languageCode) {
  return languageCode == "es" || languageCode == "fr" ? prefix(weekday, kShortWeekday) : weekday;
}

DayLabels::DayLabels(Calendar calendar) : calendar_(std::move(calendar)) {
  weekday_.setLocale(Locale::current());
  weekday_.setDateFormat("E");
}

std::string DayLabels::label(Date day) const {
  if (calendar_.isDateInToday(day)) {
    return NSBundle::mainBundle().localizedString("TODAY_LABEL");
  }
  if (calendar_.isDateInYesterday(day)) {
    return NSBundle::mainBundle().localizedString("YESTERDAY_LABEL");
  }
  return cutWeekday(capitalized(weekday_.stringFromDate(day)), Locale::current().languageCode());
}

std::vector<MoodDay> emptyWeek() {
  const Calendar calendar = Calendar::current();
  const DayLabels labels(calendar);
  const Date today = calendar.startOfDay(Date::now());
  std::vector<MoodDay> week;
  for (int offset = 1 - kDays; offset <= 0; ++offset) {
    if (const auto day = calendar.dateByAddingDays(offset, today)) {
      week.push_back({.date = *day, .dayLabel = labels.label(*day)});
    }
  }
  return week;
}

std::vector<MoodDay> sampleWeek() {
  std::vector<MoodDay> week = emptyWeek();
  auto mood = kSampleMoods.begin();
  for (auto day = week.rbegin(); day != week.rend(); ++day) {
    day->mood = *mood++;
  }
  return week;
}

}  // namespace glancery
