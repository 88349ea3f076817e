#include "platform/widgetkit/widget_center.h"

#include "platform/support/require.h"

namespace platform {

WidgetCenter& WidgetCenter::shared() {
  static WidgetCenter center;
  return center;
}

void WidgetCenter::reloadTimelines(std::string_view kind) const {
  if (!host_) {
    fatalError("WidgetCenter: this process has no host to reload timelines");
  }
  host_(std::string(kind));
}

}  // namespace platform
