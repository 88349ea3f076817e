#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>

#include "fuzz/fuzz.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/time/device.h"
#include "platform/support/require.h"
#include "store/shared_store.h"
#include "widgets/affirmation/affirmation_provider.h"
#include "widgets/moodlog/binnacle_provider.h"
#include "widgets/streak/streak_provider.h"

namespace fuzz {

/// A device with a frozen clock and a container for the suites in memory.
class Phone {
 public:
  Phone() {
    std::string name = "/dev/shm/glancery-fuzz-XXXXXX";
    expect(::mkdtemp(name.data()) != nullptr, "a folder for the container can be made");
    container() = name;
    platform::setSharedContainer(name);
    platform::setCurrentDevice(
        {.clock = platform::Clock::frozenAt(platform::Date::since1970(1709632800)),
         .timeZone = "America/Mexico_City"});
    silenceLog();
    std::atexit([] { std::filesystem::remove_all(container()); });
  }

  static std::filesystem::path& container() {
    static std::filesystem::path folder;
    return folder;
  }
};

/// What the widgets read from the suite.
struct SharedRecords {
  glancery::StreakRecord streak;
  glancery::StoredAffirmation affirmation;
  std::vector<glancery::MoodType> moods;
  friend bool operator==(const SharedRecords&, const SharedRecords&) = default;
};

inline SharedRecords readSharedRecords() {
  using namespace glancery;
  const StreakProvider streak = {.userDefaultsSuiteName = kAppGroupIdentifier,
                                 .streakDataKey = kStreakDataKey,
                                 .successImageIndexKey = kSuccessImageIndexKey,
                                 .failImageIndexKey = kFailImageIndexKey,
                                 .successIndexLastUpdateDateKey = kSuccessIndexLastUpdateDateKey,
                                 .failIndexLastUpdateDateKey = kFailIndexLastUpdateDateKey};
  const AffirmationProvider affirmation = {.placeholderAffirmation = {},
                                           .defaultColorName = {},
                                           .userDefaultsSuiteName = kAppGroupIdentifier,
                                           .affirmationDataKey = kAffirmationDataKey,
                                           .affirmationLastFetchKey = kAffirmationLastFetchKey,
                                           .userDefaultsUidKey = kSharedUidKey};
  SharedRecords records = {streak.readStreakData(), affirmation.readStoredAffirmation(), {}};
  for (const MoodDay& day : BinnacleProvider().readMoodDataFromUserDefaults()) {
    expect(!day.dayLabel.empty(), "every day has a label");
    records.moods.push_back(day.mood);
  }
  expect(!records.streak.lastDate || records.streak.lastDate->timeIntervalSince1970() > 0,
         "the last active day is after 1970");
  expect(records.moods.size() == 7, "a week has seven days, whatever is stored");
  return records;
}

}  // namespace fuzz
