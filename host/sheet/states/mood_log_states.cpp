#include <string>

#include "host/sheet/phones.h"
#include "host/sheet/states/states.h"
#include "platform/foundation/locale/date_formatter.h"
#include "platform/foundation/time/calendar.h"
#include "platform/support/require.h"
#include "store/shared_store.h"

namespace host {

using namespace glancery;
using namespace platform;
using enum ProvideRequest::What;

namespace {

/// A week from six days ago to today, a letter a day: the five moods from worst to best as 1 to 5,
/// a word that is no mood as "?", a day without one as ".".
Dictionary week(std::string_view moods) {
  NSDateFormatter keys;
  keys.setDateFormat("yyyy-MM-dd");
  Dictionary days;
  for (std::size_t index = 0; index < moods.size(); ++index) {
    const int offset = static_cast<int>(index) - static_cast<int>(moods.size()) + 1;
    const Date day = require(Calendar::current().dateByAddingDays(offset, Date::now()), "a day");
    if (moods[index] == '?') {
      days.set(keys.stringFromDate(day), "VeryWell");
    } else if (moods[index] != '.') {
      days.set(keys.stringFromDate(day), kMoodNames[moods[index] - '1']);
    }
  }
  return days;
}

/// A signed-in user with that week on record.
std::function<Dictionary()> recorded(std::string_view moods) {
  return [moods] {
    return Dictionary{{kSharedUidKey, "u-1"}, {kMoodsDataKey, record(week(moods))}};
  };
}

}  // namespace

std::vector<SheetState> moodLogStates() {
  constexpr Phones kEverything = {kEveryLocale, kEveryScreen, kEveryScheme, kEverySystem};
  constexpr Phones kEveryText = {kEveryLocale, kEveryScreen, kUsual.schemes, kEverySystem};
  constexpr Phones kEveryLook = {kUsual.locales, kEveryScreen, kEveryScheme, kEverySystem};
  constexpr Phones kBothSchemes = {kUsual.locales, kUsual.screens, kEveryScheme, kUsual.systems};
  const Date now = at("12:00");
  const std::vector<Phones> samples = {{kTranslations, kUsual.screens, kEveryScheme, kEverySystem}};
  return {
      {.name = "mixed-week", .now = now, .suite = recorded("54321.4"), .phones = {kEverything}},
      // The two weekdays whose names today and yesterday stand for above.
      {.name = "mixed-week.saturday",
       .now = at("2026-03-07", "12:00"),
       .suite = recorded("2.4?153"),
       .phones = {kEveryText}},
      {.name = "empty-week", .now = now, .suite = recorded("......."), .phones = {kEveryLook}},
      {.name = "full-week", .now = now, .suite = recorded("1532445"), .phones = {kEveryLook}},
      {.name = "no-record",
       .now = now,
       .suite =
           [] {
             return Dictionary{{kSharedUidKey, "u-1"}};
           },
       .phones = {kBothSchemes}},
      {.name = "unreadable-record",
       .now = now,
       .suite =
           [] {
             return Dictionary{{kSharedUidKey, "u-1"}, {kMoodsDataKey, Data{"[\"well\"]"}}};
           },
       .phones = {kBothSchemes}},
      {.name = "signed-out",
       .now = now,
       .suite =
           [] {
             return Dictionary{{kMoodsDataKey, record(week("1532445"))}};
           },
       .phones = {kBothSchemes}},
      {.name = "placeholder", .now = now, .phones = samples, .what = placeholder},
      {.name = "snapshot",
       .now = now,
       .suite = recorded("1532445"),
       .phones = samples,
       .what = snapshot},
  };
}

}  // namespace host
