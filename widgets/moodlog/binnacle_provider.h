#pragma once

#include <memory>
#include <vector>

#include "intents/configuration_intent.h"
#include "platform/widgetkit/timeline.h"
#include "widgets/moodlog/binnacle_entry.h"

namespace glancery {

/// Supplies the mood log's entries: the last seven days with the moods that the host app stored.
/// Requests a new timeline at midnight, when the days change.
struct BinnacleProvider {
  using Entry = BinnacleEntry;
  using Intent = ConfigurationIntent;

  BinnacleEntry placeholder(const platform::TimelineProviderContext& context) const;
  /// Shows sample moods; only the timeline shows the user's own.
  void getSnapshot(const std::shared_ptr<ConfigurationIntent>& configuration,
                   const platform::TimelineProviderContext& context,
                   const platform::Completion<BinnacleEntry>& completion) const;
  void getTimeline(const std::shared_ptr<ConfigurationIntent>& configuration,
                   const platform::TimelineProviderContext& context,
                   const platform::Completion<platform::Timeline<BinnacleEntry>>& completion) const;

  /// The stored week; a week without moods if there is no readable record.
  std::vector<MoodDay> readMoodDataFromUserDefaults() const;
};

}  // namespace glancery
