#include "widgets/streak/streak_entry.h"

namespace glancery {

platform::Mirror mirror(const StreakEntry& entry) {
  return {{"date", entry.date},
          {"displayStreakCount", entry.displayStreakCount},
          {"backgroundImageName", entry.backgroundImageName},
          {"displayType", platform::rawValue(entry.displayType)},
          {"failMessageKey", entry.failMessageKey},
          {"timeBasedMessageKey", entry.timeBasedMessageKey},
          {"showTimeBasedText", entry.showTimeBasedText},
          {"flameImageName", entry.flameImageName}};
}

}  // namespace glancery
