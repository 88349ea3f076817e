#include "widgets/streak/streak_widget.h"

#include "platform/foundation/time/device.h"
#include "platform/swiftui/stacks.h"
#include "store/shared_store.h"
#include "widgets/streak/streak_provider.h"
#include "widgets/streak/streak_widget_entry_view.h"

namespace glancery {

using namespace platform;

WidgetConfiguration Streak::body() const {
  const StreakProvider provider = {
      .userDefaultsSuiteName = kAppGroupIdentifier,
      .streakDataKey = kStreakDataKey,
      .successImageIndexKey = kSuccessImageIndexKey,
      .failImageIndexKey = kFailImageIndexKey,
      .successIndexLastUpdateDateKey = kSuccessIndexLastUpdateDateKey,
      .failIndexLastUpdateDateKey = kFailIndexLastUpdateDateKey,
  };
  const auto content = [url = widgetURL](const StreakEntry& entry) -> View {
    if (isOperatingSystemAtLeast({17, 0})) {
      return View(StreakWidgetEntryView{entry, true})
          .containerBackground(ContainerBackgroundPlacement::widget, Color::clear)
          .widgetURL(url);
    }
    return View(StreakWidgetEntryView{entry, false}).widgetURL(url);
  };
  return StaticConfiguration(kind, provider, content)
      .configurationDisplayName("STREAK_WIDGET_TITLE")
      .description("STREAK_WIDGET_DESC")
      .supportedFamilies({WidgetFamily::systemSmall});
}

}  // namespace glancery
