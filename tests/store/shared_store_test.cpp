#include "store/shared_store.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

namespace glancery {
namespace {

TEST(SharedStore, KeepsTheNamesThatInstalledVersionsHaveStoredUnder) {
  const std::pair<std::string_view, std::string_view> kNames[] = {
      {kAppGroupIdentifier, "group.com.quiloapp.sharedData"},
      {kStreakDataKey, "streakData"},
      {kSharedUidKey, "sharedUid"},
      {kMoodsDataKey, "moodsDataKey"},
      {kSuccessImageIndexKey, "streakImageIndex"},
      {kFailImageIndexKey, "streakFailImageIndex"},
      {kSuccessIndexLastUpdateDateKey, "successIndexLastUpdateDate"},
      {kFailIndexLastUpdateDateKey, "failIndexLastUpdateDate"},
      {kAffirmationDataKey, "affirmationData"},
      {kAffirmationLastFetchKey, "affirmationLastFetchTime"},
      {kObsoleteAffirmationColorKey, "affirmationColor"},
  };
  for (const auto& [name, stored] : kNames) {
    EXPECT_EQ(name, stored);
  }
}

}  // namespace
}  // namespace glancery
