#pragma once

#include <optional>
#include <string>

#include "platform/foundation/data/value.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "store/shared_store.h"
#include "tests/world.h"
#include "widgets/streak/streak_provider.h"

// A suite as left by the host app and earlier evaluations, and the result of the next evaluation.

namespace world {

inline const std::string kSuite = "group.test";

inline glancery::StreakProvider streakProvider() {
  return {.userDefaultsSuiteName = kSuite,
          .streakDataKey = glancery::kStreakDataKey,
          .successImageIndexKey = glancery::kSuccessImageIndexKey,
          .failImageIndexKey = glancery::kFailImageIndexKey,
          .successIndexLastUpdateDateKey = glancery::kSuccessIndexLastUpdateDateKey,
          .failIndexLastUpdateDateKey = glancery::kFailIndexLastUpdateDateKey};
}

inline platform::NSUserDefaults suite() {
  return platform::require(platform::NSUserDefaults::initWithSuiteName(kSuite));
}

inline platform::Dictionary stored() {
  return suite().dictionaryRepresentation();
}

/// The single entry of a timeline, the date of the next one, and the log.
struct Evaluation {
  glancery::StreakEntry entry;
  std::optional<platform::Date> after;
  std::vector<std::string> log;
};

inline Evaluation evaluate() {
  Evaluation evaluation;
  const CapturedLog log;
  int calls = 0;
  streakProvider().getTimeline({}, [&](const platform::Timeline<glancery::StreakEntry>& timeline) {
    ++calls;
    EXPECT_EQ(timeline.entries.size(), 1u);
    evaluation.entry = timeline.entries.front();
    evaluation.after = timeline.policy.date;
  });
  EXPECT_EQ(calls, 1);
  evaluation.log = log.lines();
  return evaluation;
}

}  // namespace world
