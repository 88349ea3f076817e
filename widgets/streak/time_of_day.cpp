#include "widgets/streak/time_of_day.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/foundation/time/calendar.h"
#include "platform/foundation/time/date.h"

namespace glancery {

using namespace platform;

namespace {

struct Band {
  int end;
  std::string_view background;
  std::string_view textKey;
};

// A band holds the hours before its end that no earlier band holds.
// clang-format off
constexpr std::array kBands = {
    Band{ 8, "streakBg_dawn",          "STREAK_TEXT_00_08"},
    Band{10, "streakBg_morning",       "STREAK_TEXT_08_10"},
    Band{12, "streakBg_midday",        "STREAK_TEXT_10_12"},
    Band{14, "streakBg_afternoon",     "STREAK_TEXT_12_14"},
    Band{16, "streakBg_lateAfternoon", "STREAK_TEXT_14_16"},
    Band{18, "streakBg_evening",       "STREAK_TEXT_16_18"},
    Band{20, "streakBg_dusk",          "STREAK_TEXT_18_20"},
    Band{22, "streakBg_night",         "STREAK_TEXT_20_22"},
    Band{24, "streakBg_lateNight",     "STREAK_TEXT_22_24"},
};
// clang-format on
static_assert(std::ranges::is_sorted(kBands, {}, &Band::end), "the first end beyond the hour wins");

const Band& currentBand() {
  const int hour = Calendar::current().hour(Date::now());
  const auto* band = std::ranges::upper_bound(kBands, hour, {}, &Band::end);
  return band == kBands.end() ? kBands.front() : *band;
}

}  // namespace

std::string timeOfDayBackground() {
  return std::string(currentBand().background);
}

std::string timeOfDayTextKey() {
  return std::string(currentBand().textKey);
}

}  // namespace glancery
