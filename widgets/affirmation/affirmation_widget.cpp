#include "widgets/affirmation/affirmation_widget.h"

namespace glancery {

using namespace platform;

WidgetConfiguration Affirmation::body() const {
  return WidgetConfiguration{.kind = kind}
      .configurationDisplayName("AFFIRMATION_WIDGET_TITLE")
      .description("AFFIRMATION_WIDGET_DESC")
      .supportedFamilies({WidgetFamily::systemMedium});
}

}  // namespace glancery
