#include "widgets/moodlog/binnacle_widget.h"

#include <optional>

#include "platform/foundation/network/url.h"
#include "platform/support/require.h"
#include "widgets/moodlog/binnacle_provider.h"
#include "widgets/moodlog/binnacle_view.h"

namespace glancery {

using namespace platform;

WidgetConfiguration Binnacle::body() const {
  const auto content = [](const BinnacleEntry& entry) {
    const auto url = entry.hasUid ? std::optional(require(URL::fromString("quiloapp://binnacle")))
                                  : std::nullopt;
    return View(BinnacleView{.entry = entry}).widgetURL(url);
  };
  return IntentConfiguration<ConfigurationIntent>(kind, BinnacleProvider(), content)
      .configurationDisplayName("BINNACLE_WIDGET_TITLE")
      .description("BINNACLE_WIDGET_DESC")
      .supportedFamilies({WidgetFamily::systemMedium});
}

}  // namespace glancery
