#include "host/drill/drill_phone.h"
#include "host/drill/drill_tables.h"
#include "platform/foundation/time/date.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;
using namespace glancery;

namespace {

void travel(DrillHome& home, const std::string& to) {
  home.act({{"action", "travel"}, {"to", to}});
}

std::string forward(DrillPhone& phone) {
  DrillHome home(phone);
  travel(home, "2026-03-09T12:00:00-06:00");
  home.awaitText(kBinnacleKind, "sin registro, Hoy");
  return home.awaitText(kStreakKind, "— 0");
}

std::string back(DrillPhone& phone) {
  DrillHome home(phone);
  const std::string today = home.widget(kBinnacleKind).text;
  travel(home, DrillPhone::kNextDay);
  const std::string tomorrow = home.awaitText(kBinnacleKind, "bien, Ayer, sin registro, Hoy");
  travel(home, DrillPhone::kNoon);
  return tomorrow + "; then " + home.awaitText(kBinnacleKind, today);
}

std::string zoneOverMidnight(DrillPhone& phone) {
  DrillHome home(phone, "2026-03-05T23:30:00-06:00");
  home.awaitText(kBinnacleKind, "bien, Hoy");
  home.act({{"action", "device"}, {"timeZone", "Europe/Madrid"}});
  const std::string east = home.awaitText(kBinnacleKind, "bien, Ayer, sin registro, Hoy");
  home.act({{"action", "device"}, {"timeZone", "America/Mexico_City"}});
  return east + "; then " + home.awaitText(kBinnacleKind, "bien, Hoy");
}

/// A day of New York that is not 24 hours long, from its first to its last second.
std::string clockChange(DrillPhone& phone, const char* day, const char* begin, const char* end) {
  phone.timeZone = "America/New_York";
  phone.app({"mood", "veryBad", "--time-zone", phone.timeZone, "--day", day});
  const auto before = [](const char* instant) {
    return Date::fromISO8601(instant)->addingTimeInterval(-1).iso8601();
  };
  DrillHome home(phone, before(begin));
  home.awaitText(kBinnacleKind, "sin registro, Hoy");
  for (const std::string& instant : {std::string(begin), before(end)}) {
    travel(home, instant);
    home.awaitText(kBinnacleKind, "muy mal, Hoy");
  }
  travel(home, end);
  return home.awaitText(kBinnacleKind, "muy mal, Ayer, sin registro, Hoy");
}

constexpr std::string_view kDay = "Every widget shows the new day.";
constexpr std::string_view kMidnight = "The day begins and ends at midnight, to the second.";

}  // namespace

// clang-format off
std::vector<Drill> clockDrills() {
  return {
      {"clock-forward", "The clock is set forward by four days", kDay, forward},
      {"clock-back", "The clock is set back by a day", "The widgets show that day as before.", back},
      {"zone-over-midnight", "The time zone changes to one where the next day has begun, and back", kDay,
       zoneOverMidnight},
      {"clock-change-spring", "The clocks go forward, and the day has 23 hours", kMidnight,
       [](DrillPhone& phone) { return clockChange(phone, "2026-03-08", "2026-03-08T05:00:00Z", "2026-03-09T04:00:00Z"); }},
      {"clock-change-autumn", "The clocks go back, and the day has 25 hours", kMidnight,
       [](DrillPhone& phone) { return clockChange(phone, "2026-11-01", "2026-11-01T04:00:00Z", "2026-11-02T05:00:00Z"); }},
  };
}
// clang-format on

}  // namespace host
