#pragma once

#include <memory>

#include "intents/configuration_intent.h"
#include "platform/widgetkit/timeline.h"
#include "widgets/checkin/checkin_simple_entry.h"

namespace glancery {

/// Supplies the check-in widget's single entry. Its timeline is reloaded only on request, never by
/// date.
struct CheckinProvider {
  using Entry = CheckinSimpleEntry;
  using Intent = ConfigurationIntent;

  CheckinSimpleEntry placeholder(const platform::TimelineProviderContext& context) const;
  void getSnapshot(const std::shared_ptr<ConfigurationIntent>& configuration,
                   const platform::TimelineProviderContext& context,
                   const platform::Completion<CheckinSimpleEntry>& completion) const;
  void getTimeline(
      const std::shared_ptr<ConfigurationIntent>& configuration,
      const platform::TimelineProviderContext& context,
      const platform::Completion<platform::Timeline<CheckinSimpleEntry>>& completion) const;
};

}  // namespace glancery
