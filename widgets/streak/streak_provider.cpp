#include "widgets/streak/streak_provider.h"

#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/process/log.h"
#include "platform/foundation/time/calendar.h"
#include "platform/support/require.h"
#include "widgets/streak/time_of_day.h"

namespace glancery {

using namespace platform;

namespace {

constexpr std::int64_t kSuccessImages = 5;
constexpr std::int64_t kFailImages = 4;

/// The hours of the next update. Hour 0 is never greater than the current one; the update at
/// midnight is the start of the next day.
constexpr int kRefreshHours[] = {0, 8, 10, 12, 14, 16, 18, 20, 22};

StreakState stateOf(const StreakRecord& record, const Calendar& calendar, Date yesterdayStart) {
  if (!record.lastDate) {
    return StreakState::initial;
  }
  if (calendar.isDateInToday(*record.lastDate)) {
    return StreakState::maintainedToday;
  }
  return calendar.isDateInSameDayAs(*record.lastDate, yesterdayStart) ? StreakState::activeYesterday
                                                                      : StreakState::broken;
}

/// The artwork is numbered from one, the stored index from zero.
std::string numbered(std::string_view name, std::int64_t index) {
  return std::string(name) + std::to_string(addTrapping(index, 1));
}

/// The stored indices of the pictures.
struct PictureIndices {
  std::int64_t success;
  std::int64_t fail;
};

std::string backdropName(Backdrop backdrop, PictureIndices indices) {
  switch (backdrop) {
    case Backdrop::numberedSuccess:
      return numbered("streakBg_success", indices.success);
    case Backdrop::numberedFail:
      return numbered("streakBg_fail", indices.fail);
    case Backdrop::sky:
      break;
  }
  return timeOfDayBackground();
}

StreakEntry entryFor(StreakState state, Date now, std::int64_t count, PictureIndices indices) {
  const StateRow& row = rowFor(state);
  StreakEntry entry;
  entry.date = now;
  entry.displayStreakCount = row.counter == Counter::streak ? count : 0;
  entry.backgroundImageName = backdropName(row.backdrop, indices);
  entry.displayType = row.displayType;
  if (row.message == Message::fail) {
    entry.failMessageKey = numbered("STREAK_FAIL_MESSAGE_", indices.fail);
  }
  if (row.message == Message::timeOfDay) {
    entry.timeBasedMessageKey = timeOfDayTextKey();
  }
  entry.showTimeBasedText = row.message == Message::timeOfDay;
  return entry;
}

std::string flameFor(StreakState state, int hour) {
  const bool isWithinTimeWindow = hour >= 20 && hour < 24;
  if (rowFor(state).flame == Flame::endsAtNight && isWithinTimeWindow) {
    log("[StreakProvider] Setting flame to flameEnd (Optimized Check: !isActiveToday && "
        "isWithinTimeWindow && !isStreakBrokenBeforeYesterday)");
    return "flameEnd";
  }
  return "flame";
}

Date nextUpdateDate(const Calendar& calendar, Date now, int hour) {
  for (const int refreshHour : kRefreshHours) {
    if (refreshHour <= hour) {
      continue;
    }
    if (const auto date = calendar.dateBySettingHour(refreshHour, now)) {
      return *date;
    }
  }
  return calendar.startOfDay(require(calendar.dateByAddingDays(1, now)));
}

}  // namespace

StreakEntry StreakProvider::placeholder(const TimelineProviderContext&) const {
  return {.date = Date::now(),
          .displayStreakCount = 5,
          .backgroundImageName = "streakBg_morning",
          .displayType = StreakDisplayType::successCounter,
          .timeBasedMessageKey = "STREAK_TEXT_08_10",
          .showTimeBasedText = true,
          .flameImageName = "flame"};
}

void StreakProvider::getSnapshot(const TimelineProviderContext&,
                                 const Completion<StreakEntry>& completion) const {
  const StreakEntry entry = {.date = Date::now(),
                             .displayStreakCount = 10,
                             .backgroundImageName = timeOfDayBackground(),
                             .displayType = StreakDisplayType::successCounter,
                             .timeBasedMessageKey = timeOfDayTextKey(),
                             .showTimeBasedText = true,
                             .flameImageName = "flame"};
  log("[StreakProvider] Providing specific snapshot: 10 day streak, pending today.");
  completion(entry);
}

void StreakProvider::getTimeline(const TimelineProviderContext&,
                                 const Completion<Timeline<StreakEntry>>& completion) const {
  const Date now = Date::now();
  const Calendar calendar = Calendar::current();
  const Date yesterdayStart = require(calendar.dateByAddingDays(-1, calendar.startOfDay(now)));

  const StreakRecord record = readStreakData();
  const PictureIndices indices = {.success = readIndex(successImageIndexKey),
                                  .fail = readIndex(failImageIndexKey)};
  const auto successDate = readDate(successIndexLastUpdateDateKey);
  const auto failDate = readDate(failIndexLastUpdateDateKey);

  const int hour = calendar.hour(now);
  const StreakState state = stateOf(record, calendar, yesterdayStart);
  // Uses the indices as read, before they are changed below: the day's first entry shows picture
  // s + 1, every later one the picture after that.
  StreakEntry entry = entryFor(state, now, record.count, indices);

  switch (state) {
    case StreakState::maintainedToday:
      rotateSuccessIndex(indices.success, successDate, now);
      break;
    case StreakState::activeYesterday:
      log("[StreakProvider] Active Yesterday, Not Today.");
      break;
    case StreakState::initial:
      log("[StreakProvider] Initial State.");
      break;
    case StreakState::broken:
      rotateFailIndex(indices.fail, failDate, now);
      break;
  }
  entry.flameImageName = flameFor(state, hour);

  const Date nextUpdate = nextUpdateDate(calendar, now, hour);
  log("[StreakProvider] Timeline generated. Entry: Count=",
      entry.displayStreakCount,
      ", Bg=",
      entry.backgroundImageName,
      ", Type=",
      rawValue(entry.displayType),
      ", ShowTimeText=",
      entry.showTimeBasedText,
      ", Flame=",
      entry.flameImageName,
      ". Next update: ",
      nextUpdate);
  completion({{entry}, TimelineReloadPolicy::after(nextUpdate)});
}

StreakRecord StreakProvider::readStreakData() const {
  const auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName);
  if (!suite) {
    log("[StreakProvider] Error: Could not access shared UserDefaults");
    return {};
  }
  const auto data = suite->dataForKey(streakDataKey);
  if (!data) {
    log("[StreakProvider] No serialized streak data found for key ", streakDataKey);
    return {};
  }
  const auto object = NSJSONSerialization::JSONObjectWithData(*data);
  if (!object) {
    log("[StreakProvider] Error deserializing streak data: ", object.error());
    return {};
  }
  const Dictionary* fields = object->dictionary();
  if (!fields) {
    log("[StreakProvider] Failed to cast deserialized object to [String: Any]");
    return {};
  }
  StreakRecord record{.count = fields->integer("count").value_or(0)};
  if (const auto seconds = fields->number("timestamp"); seconds && *seconds > 0.0) {
    record.lastDate = Date::since1970(*seconds);
  } else {
    // The count is kept even if the date is invalid.
    log("[StreakProvider] Timestamp missing or invalid in deserialized streak data");
  }
  log("[StreakProvider] Deserialized streakCount: ",
      record.count,
      ", lastStreakDate: ",
      record.lastDate);
  return record;
}

std::int64_t StreakProvider::readIndex(const std::string& key) const {
  const auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName);
  return suite ? suite->integerForKey(key) : 0;
}

std::optional<Date> StreakProvider::readDate(const std::string& key) const {
  const auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName);
  const auto object = suite ? suite->objectForKey(key) : std::nullopt;
  const Date* date = object ? object->as<Date>() : nullptr;
  return date ? std::optional(*date) : std::nullopt;
}

void StreakProvider::writeIndex(std::int64_t index, const std::string& key) const {
  if (auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName)) {
    suite->setInteger(index, key);
  }
}

void StreakProvider::writeDate(Date date, const std::string& key) const {
  if (auto suite = NSUserDefaults::initWithSuiteName(userDefaultsSuiteName)) {
    suite->setObject(date, key);
  }
}

void StreakProvider::rotateSuccessIndex(std::int64_t index,
                                        std::optional<Date> lastUpdate,
                                        Date now) const {
  if (Calendar::current().isDateInToday(lastUpdate.value_or(Date::distantPast()))) {
    log("[StreakProvider] Maintained Today. Index already updated today.");
    return;
  }
  const std::int64_t next = addTrapping(index, 1) % kSuccessImages;
  writeIndex(next, successImageIndexKey);
  writeDate(now, successIndexLastUpdateDateKey);
  log("[StreakProvider] Maintained Today. Index updated: ", index, " -> ", next, ".");
}

void StreakProvider::rotateFailIndex(std::int64_t index,
                                     std::optional<Date> lastUpdate,
                                     Date now) const {
  if (Calendar::current().isDateInToday(lastUpdate.value_or(Date::distantPast()))) {
    log("[StreakProvider] Streak Broken. Fail Index already updated today.");
  } else {
    const std::int64_t next = addTrapping(index, 1) % kFailImages;
    writeIndex(next, failImageIndexKey);
    writeDate(now, failIndexLastUpdateDateKey);
    log("[StreakProvider] Streak Broken. Fail Index updated: ", index, " -> ", next, ".");
  }
  // The next streak starts with the first success picture; the date of its last move stays.
  writeIndex(0, successImageIndexKey);
  log("[StreakProvider] Resetting success image index to 0 due to broken streak.");
}

}  // namespace glancery
