#include "widgets/checkin/checkin_widget.h"

namespace glancery {

using namespace platform;

WidgetConfiguration Checkin::body() const {
  return WidgetConfiguration{.kind = kind}
      .configurationDisplayName("CHECKIN_WIDGET_TITLE")
      .description("CHECKIN_WIDGET_DESC")
      .supportedFamilies({WidgetFamily::systemMedium});
}

}  // namespace glancery
