#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/foundation/time/date.h"
#include "platform/widgetkit/timeline.h"
#include "widgets/streak/streak_entry.h"
#include "widgets/streak/streak_state.h"

namespace glancery {

/// The host app's record of the streak, after every kind of damage was turned into a default.
struct StreakRecord {
  std::int64_t count = 0;
  /// The last active moment; absent reads as never active.
  std::optional<platform::Date> lastDate = {};
  friend bool operator==(const StreakRecord&, const StreakRecord&) = default;
};

/// Supplies the streak widget's entries from the shared suite.
///
/// Holds nothing between calls: which success and fail picture comes next, and when each last
/// moved, lives in the suite. Each of the two moves at most once a calendar day.
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
