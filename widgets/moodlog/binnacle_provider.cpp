#include "widgets/moodlog/binnacle_provider.h"

#include <optional>
#include <ranges>
#include <string>

#include "platform/foundation/data/debug_description.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/locale/date_formatter.h"
#include "platform/foundation/process/log.h"
#include "platform/foundation/time/calendar.h"
#include "platform/support/require.h"
#include "store/shared_store.h"
#include "store/shared_user.h"
#include "widgets/moodlog/mood_week.h"

namespace glancery {

using namespace platform;

namespace {

std::vector<MoodDay> fallbackWeek() {
  log("[BinnacleProvider] Debug: Generating empty mood days for fallback.");
  return emptyWeek();
}

std::vector<MoodDay> weekWith(const Dictionary& moods) {
  std::vector<MoodDay> week = emptyWeek();
  NSDateFormatter keys;
  keys.setDateFormat("yyyy-MM-dd");
  for (MoodDay& day : week | std::views::reverse) {
    const std::string key = keys.stringFromDate(day.date);
    const std::optional<std::string> mood = moods.string(key);
    day.mood = withRawValue<MoodType>(mood.value_or("")).value_or(MoodType::emptyDay);
    // This line intentionally has no prefix, unlike the others.
    log("Debug: Processed day - Date: ",
        key,
        ", Label: ",
        day.dayLabel,
        ", MoodString: ",
        mood,
        ", MoodType: ",
        rawValue(day.mood));
  }
  return week;
}

}  // namespace

BinnacleEntry BinnacleProvider::placeholder(const TimelineProviderContext&) const {
  return {.date = Date::now(),
          .moodDays = sampleWeek(),
          .configuration = std::make_shared<ConfigurationIntent>(),
          .hasUid = false};
}

void BinnacleProvider::getSnapshot(const std::shared_ptr<ConfigurationIntent>& configuration,
                                   const TimelineProviderContext&,
                                   const Completion<BinnacleEntry>& completion) const {
  completion({.date = Date::now(),
              .moodDays = sampleWeek(),
              .configuration = configuration,
              .hasUid = hasSharedUid()});
}

void BinnacleProvider::getTimeline(const std::shared_ptr<ConfigurationIntent>& configuration,
                                   const TimelineProviderContext&,
                                   const Completion<Timeline<BinnacleEntry>>& completion) const {
  log("[BinnacleProvider] getTimeline called.");
  const bool hasUid = hasSharedUid();
  std::vector<MoodDay> week = readMoodDataFromUserDefaults();
  const Date now = Date::now();
  const BinnacleEntry entry = {
      .date = now, .moodDays = std::move(week), .configuration = configuration, .hasUid = hasUid};
  const Calendar calendar = Calendar::current();
  const Date nextUpdate = calendar.startOfDay(require(calendar.dateByAddingDays(1, now)));
  completion({{entry}, TimelineReloadPolicy::after(nextUpdate)});
}

std::vector<MoodDay> BinnacleProvider::readMoodDataFromUserDefaults() const {
  log("[BinnacleProvider] readMoodDataFromUserDefaults called.");
  const auto suite = NSUserDefaults::initWithSuiteName(kAppGroupIdentifier);
  if (!suite) {
    log("[BinnacleProvider] Error: Could not access UserDefaults for App Group: ",
        kAppGroupIdentifier);
    return fallbackWeek();
  }
  const auto data = suite->dataForKey(kMoodsDataKey);
  if (!data) {
    log("[BinnacleProvider] No serialized mood data found for key ", kMoodsDataKey);
    return fallbackWeek();
  }
  const auto object = NSJSONSerialization::JSONObjectWithData(*data);
  if (!object) {
    log("[BinnacleProvider] Error deserializing mood data: ", object.error());
    return fallbackWeek();
  }
  const Dictionary* moods = object->dictionaryOfStrings();
  if (!moods) {
    log("[BinnacleProvider] Failed to cast deserialized mood data to [String: String].");
    return fallbackWeek();
  }
  log("[BinnacleProvider] Successfully deserialized mood data.");
  log("[BinnacleProvider] Debug: Found deserialized moods: ", debugDescription(*moods));
  return weekWith(*moods);
}

}  // namespace glancery
