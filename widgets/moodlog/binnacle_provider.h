#pragma once

#include <memory>
#include <vector>

#include "intents/configuration_intent.h"
#include "platform/widgetkit/timeline.h"
#include "widgets/moodlog/binnacle_entry.h"

namespace glancery {

/// Supplies the mood log's entries: the last seven days with the moods that the host app stored.
/// Asks to be asked again at midnight, when every day moves on.
struct BinnacleProvider {
  using Entry = BinnacleEntry;
  using Intent = ConfigurationIntent;

  BinnacleEntry placeholder(const platform::TimelineProviderContext& context) const;
  /// Sample moods; the user's own show in the timeline alone.
  void getSnapshot(const std::shared_ptr<ConfigurationIntent>& configuration,
                   const platform::TimelineProviderContext& context,
                   const platform::Completion<BinnacleEntry>& completion) const;
  void getTimeline(const std::shared_ptr<ConfigurationIntent>& configuration,
                   const platform::TimelineProviderContext& context,
                   const platform::Completion<platform::Timeline<BinnacleEntry>>& completion) const;

  /// The stored week; a week without moods if there is no record that can be read.
  std::vector<MoodDay> readMoodDataFromUserDefaults() const;
};

}  // namespace glancery
