#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/foundation/time/date.h"
#include "platform/widgetkit/timeline.h"
#include "widgets/streak/streak_entry.h"
#include "widgets/streak/streak_state.h"

namespace glancery {

/// The host app's record of the streak. Missing or damaged parts have their defaults.
struct StreakRecord {
  std::int64_t count = 0;
  /// The last active instant; absent if the user was never active.
  std::optional<platform::Date> lastDate = {};
  friend bool operator==(const StreakRecord&, const StreakRecord&) = default;
};

/// Supplies the streak widget's entries from the shared suite.
///
/// Stateless: the indices of the success and fail pictures and the dates of their last changes are
/// in the suite. Each index changes at most once a calendar day.
struct StreakProvider {
  using Entry = StreakEntry;

  std::string userDefaultsSuiteName;
  std::string streakDataKey;
  std::string successImageIndexKey;
  std::string failImageIndexKey;
  std::string successIndexLastUpdateDateKey;
  std::string failIndexLastUpdateDateKey;

  StreakEntry placeholder(const platform::TimelineProviderContext& context) const;
  void getSnapshot(const platform::TimelineProviderContext& context,
                   const platform::Completion<StreakEntry>& completion) const;
  void getTimeline(const platform::TimelineProviderContext& context,
                   const platform::Completion<platform::Timeline<StreakEntry>>& completion) const;

  StreakRecord readStreakData() const;

 private:
  std::int64_t readIndex(const std::string& key) const;
  std::optional<platform::Date> readDate(const std::string& key) const;
  void writeIndex(std::int64_t index, const std::string& key) const;
  void writeDate(platform::Date date, const std::string& key) const;

  void rotateSuccessIndex(std::int64_t index,
                          std::optional<platform::Date> lastUpdate,
                          platform::Date now) const;
  void rotateFailIndex(std::int64_t index,
                       std::optional<platform::Date> lastUpdate,
                       platform::Date now) const;
};

}  // namespace glancery
