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

/// The record of the days up to today, one character a day: "1" to "5" for the moods from worst to
/// best, "?" for an unknown mood name, "." for a day without a mood.
Data moodRecord(std::string_view moods) {
  NSDateFormatter keys;
  keys.setDateFormat("yyyy-MM-dd");
  Dictionary days;
  int offset = 1 - static_cast<int>(moods.size());
  for (const char mood : moods) {
    const Date day = require(Calendar::current().dateByAddingDays(offset++, Date::now()));
    if (mood != '.') {
      days.set(keys.stringFromDate(day), mood == '?' ? "VeryWell" : kMoodNames[mood - '1']);
    }
  }
  return record(days);
}

/// A signed-in user with that record.
Suite recorded(std::string_view moods) {
  return [moods] { return signedIn({{kMoodsDataKey, moodRecord(moods)}})(); };
}

}  // namespace

std::vector<SheetState> moodLogStates() {
  constexpr DeviceMatrix kAll = {kLocales, kScreens, kSchemes, kSystems};
  constexpr DeviceMatrix kTexts = {.locales = kLocales, .screens = kScreens, .systems = kSystems};
  constexpr DeviceMatrix kLooks = {.screens = kScreens, .schemes = kSchemes, .systems = kSystems};
  constexpr DeviceMatrix kBothSchemes = {.schemes = kSchemes};
  constexpr DeviceMatrix kSample = {
      .locales = kTranslations, .schemes = kSchemes, .systems = kSystems};
  const Date now = at("12:00");
  const Suite unreadable = signedIn({{kMoodsDataKey, Data{"[\"well\"]"}}});
  const Suite signedOut = [] { return Dictionary{{kMoodsDataKey, moodRecord("1532445")}}; };
  return {
      {"mixed-week", now, recorded("54321.4"), {kAll}},
      // Shows the two weekdays that the other states label as today and yesterday.
      {"mixed-week.saturday", at("12:00", "2026-03-07"), recorded("2.4?153"), {kTexts}},
      {"empty-week", now, recorded("......."), {kLooks}},
      {"full-week", now, recorded("1532445"), {kLooks}},
      {"no-record", now, signedIn(), {kBothSchemes}},
      {"unreadable-record", now, unreadable, {kBothSchemes}},
      {"signed-out", now, signedOut, {kBothSchemes}},
      {.name = "placeholder", .now = now, .devices = {kSample}, .what = placeholder},
      {"snapshot", now, recorded("1532445"), {kSample}, snapshot},
  };
}

}  // namespace host
