#include "widgets/moodlog/binnacle_widget.h"

namespace glancery {

using namespace platform;

WidgetConfiguration Binnacle::body() const {
  return WidgetConfiguration{.kind = kind}
      .configurationDisplayName("BINNACLE_WIDGET_TITLE")
      .description("BINNACLE_WIDGET_DESC")
      .supportedFamilies({WidgetFamily::systemMedium});
}

}  // namespace glancery
